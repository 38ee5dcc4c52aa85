#include "volumes/mapped_files.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <sys/ioctl.h>

#include "core/directory.hpp"
#include "core/file_text.hpp"
#include "resource/proc_parse.hpp"

namespace VESK::Systemd
{
namespace
{

/** The kernel's procmap_query, which headers older than it do not have. */
struct MapQuery {
    uint64_t size;
    uint64_t query_flags;
    uint64_t query_addr;
    uint64_t vma_start;
    uint64_t vma_end;
    uint64_t vma_flags;
    uint64_t vma_page_size;
    uint64_t vma_offset;
    uint64_t inode;
    uint32_t dev_major;
    uint32_t dev_minor;
    uint32_t vma_name_size;
    uint32_t build_id_size;
    uint64_t vma_name_addr;
    uint64_t build_id_addr;
};

constexpr unsigned long kMapQuery = _IOWR('f', 17, MapQuery);
/** For the mapping at the address or the next one, of those of files. */
constexpr uint64_t kNextOfFile = 0x10 | 0x20;

/**
 * Whether the caller's folder has a file that may be called like a mapping of none: "[heap]", "[anon:...". Nobody
 * is to wait for a large folder.
 */
bool MayMeanMappings()
{
    constexpr int kMostEntries = 1000;
    Directory here(".");
    for (int nEntries = 0; nEntries < kMostEntries; ++nEntries) {
        const char* szEntry = here.Next();
        if (szEntry == nullptr) {
            return here.Error() != 0;
        }
        if (*szEntry == '[') {
            return true;
        }
    }
    return true;
}

/** A name as the text of the maps shows it, which has no line feeds, up to the first blank. */
std::string_view Shown(const char* szName, std::string& strEscaped)
{
    constexpr const char* kSpace = " \t\n\v\f\r";
    size_t cbShown = strcspn(szName, kSpace);
    if (szName[cbShown] != '\n') {
        return {szName, cbShown};
    }
    strEscaped.clear();
    for (; szName[cbShown] == '\n'; szName += cbShown + 1, cbShown = strcspn(szName, kSpace)) {
        strEscaped.append(szName, cbShown).append("\\012");
    }
    return strEscaped.append(szName, cbShown);
}

/** A line of the maps from its device on; the mappings of one file, which follow each other, differ before. */
std::string_view FromDevice(std::string_view svLine)
{
    size_t nBlank = svLine.find(' ');
    for (int nField = 1; nField < 3 && nBlank != std::string_view::npos; ++nField) {
        nBlank = svLine.find(' ', nBlank + 1);
    }
    return svLine.substr(std::min(nBlank, svLine.size()));
}

bool TextTake(std::string_view svMaps, const PathTaker& take)
{
    Lines lines(svMaps);
    std::string_view svLast;
    for (std::string_view svLine; lines.Next(svLine);) {
        const std::string_view svFile = FromDevice(svLine);
        if (svFile == svLast) {
            continue;
        }
        svLast = svFile;
        const std::string_view svPath = MapsPathParse(svLine);
        if (!svPath.empty() && !take(svPath)) {
            return false;
        }
    }
    return true;
}

} // namespace

MappedFiles::MappedFiles()
    : m_blAsk(!MayMeanMappings())
{
}

bool MappedFiles::Visit(int fdMaps, const PathTaker& take, bool& blMore)
{
    const Answer answer = m_blAsk ? Ask(fdMaps, take) : Answer::None;
    blMore = answer != Answer::Enough;
    return answer != Answer::None || PiecesRead(fdMaps, [&](std::string_view svPiece) {
               blMore = TextTake(svPiece, take);
               return blMore;
           });
}

MappedFiles::Answer MappedFiles::Ask(int fdMaps, const PathTaker& take)
{
    std::array<char, 1024> name;
    std::string strLast;
    std::string strEscaped;
    MapQuery query{};
    query.size = sizeof query;
    query.query_flags = kNextOfFile;
    query.vma_name_addr = reinterpret_cast<uintptr_t>(name.data());
    while (query.vma_name_size = name.size(), ioctl(fdMaps, kMapQuery, &query) == 0) {
        query.query_addr = query.vma_end;
        const std::string_view svPath = Shown(name.data(), strEscaped);
        if (svPath != strLast && !take(svPath)) {
            return Answer::Enough;
        }
        strLast = svPath;
    }
    m_blAsk = errno != ENOTTY;
    // Whatever else it is, as a name too long for the buffer, the text tells.
    return errno == ENOENT ? Answer::All : Answer::None;
}

} // namespace VESK::Systemd

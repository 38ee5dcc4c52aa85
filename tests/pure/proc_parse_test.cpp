// The readers of what /proc prints: on texts by hand, on kept ones of a real kernel, and beside sscanf.
#include <array>
#include <climits>
#include <cstdint>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "core/file_text.hpp"
#include "resource/proc_parse.hpp"

namespace VeskTest
{
namespace
{

using namespace std::string_literals;
using namespace VESK::Systemd;
using ::testing::ElementsAre;

// Whether a text is taken, and the values, as they were before where they are left alone.
using Reading = std::tuple<bool, unsigned long long, unsigned long long>;

constexpr unsigned long long kBefore = 77;

Reading Taken(unsigned long long first, unsigned long long second = kBefore)
{
    return {true, first, second};
}

Reading Refused(unsigned long long first = kBefore)
{
    return {false, first, kBefore};
}

Reading StatParsed(const std::string& text)
{
    unsigned long long user = kBefore;
    unsigned long long system = kBefore;
    const bool taken = StatTicksParse(text, user, system);
    return {taken, user, system};
}

Reading TotalParsed(const std::string& text)
{
    unsigned long long total = kBefore;
    const bool taken = TotalTicksParse(text, total);
    return {taken, total, kBefore};
}

Reading IOParsed(const std::string& text)
{
    unsigned long long read = kBefore;
    unsigned long long written = kBefore;
    const bool taken = IOParse(text, read, written);
    return {taken, read, written};
}

Reading PssParsed(const std::string& text)
{
    return Taken(PssParse(text));
}

// The same with the C library's sscanf, line by line.

Reading StatByFormat(const std::string& text)
{
    std::istringstream stream(text);
    std::string line;
    unsigned long long user = kBefore;
    unsigned long long system = kBefore;
    const bool taken =
        std::getline(stream, line) &&
        std::sscanf(line.c_str(), "%*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %*s %llu%llu", &user,
                    &system) == 2;
    return {taken, user, system};
}

Reading TotalByFormat(const std::string& text)
{
    std::istringstream stream(text);
    std::string line;
    std::array<unsigned long long, 8> ticks{};
    if (!std::getline(stream, line) ||
        std::sscanf(line.c_str(), "cpu %llu%llu%llu%llu%llu%llu%llu%llu", &ticks[0], &ticks[1], &ticks[2],
                    &ticks[3], &ticks[4], &ticks[5], &ticks[6], &ticks[7]) != 8) {
        return Refused();
    }
    unsigned long long total = 0;
    for (const unsigned long long value : ticks) {
        total += value;
    }
    return Taken(total);
}

Reading PssByFormat(const std::string& text)
{
    std::istringstream stream(text);
    unsigned long long sum = 0;
    for (std::string line; std::getline(stream, line);) {
        unsigned long long share = 0;
        sum += std::sscanf(line.c_str(), "Pss: %llu", &share) == 1 ? share : 0;
    }
    return Taken(sum);
}

Reading IOByFormat(const std::string& text)
{
    std::istringstream stream(text);
    unsigned long long read = kBefore;
    unsigned long long written = kBefore;
    bool taken = false;
    for (std::string line; std::getline(stream, line);) {
        if (std::sscanf(line.c_str(), "read_bytes: %llu", &read) == 1) {
            taken =
                std::getline(stream, line) && std::sscanf(line.c_str(), "write_bytes: %llu", &written) == 1;
            break;
        }
    }
    return {taken, read, written};
}

std::string MappedPathByFormat(const std::string& line)
{
    std::vector<char> path(line.size() + 1);
    std::sscanf(line.c_str(), "%*x-%*x %*s %*x %*s %*d %s", path.data());
    return path.data();
}

// What a reader makes of a text, which is always what the format makes of it.

Reading Stat(const std::string& text)
{
    EXPECT_EQ(StatParsed(text), StatByFormat(text));
    return StatParsed(text);
}

Reading Total(const std::string& text)
{
    EXPECT_EQ(TotalParsed(text), TotalByFormat(text));
    return TotalParsed(text);
}

Reading IO(const std::string& text)
{
    EXPECT_EQ(IOParsed(text), IOByFormat(text));
    return IOParsed(text);
}

unsigned long long Pss(const std::string& text)
{
    EXPECT_EQ(PssParsed(text), PssByFormat(text));
    return PssParse(text);
}

std::string MappedPath(const std::string& line)
{
    EXPECT_EQ(MapsPathParse(line), MappedPathByFormat(line));
    return std::string(MapsPathParse(line));
}

std::string Sample(const std::string& name)
{
    std::ifstream stream(VESK_PROC_SAMPLES "/" + name, std::ios::binary);
    EXPECT_TRUE(stream) << name;
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> PathsIn(const std::string& maps)
{
    std::vector<std::string> paths;
    Lines lines(maps);
    for (std::string_view line; lines.Next(line);) {
        paths.push_back(MappedPath(std::string(line)));
    }
    return paths;
}

std::string Words(int count)
{
    std::string words;
    for (int number = 1; number <= count; ++number) {
        words += "w" + std::to_string(number) + " ";
    }
    return words;
}

// The kept files are of a shell that ran as "/opt/tools/slow worker", burned some time and wrote to a disk.

TEST(ProcSample, GivesTheFieldsThatABlankInTheNameHasShifted)
{
    const std::string text = Sample("stat");
    EXPECT_EQ(Stat(text), Taken(1, 43)) << text;
    std::string plain = text;
    plain.replace(plain.find("slow worker"), 11, "slowworker");
    EXPECT_EQ(Stat(plain), Taken(43, 0));
}

TEST(ProcSample, GivesTheTicksOfTheMachine)
{
    EXPECT_EQ(Total(Sample("system_stat")), Taken(1591932 + 266057 + 269437 + 1531886 + 4067 + 616 + 12699));
}

TEST(ProcSample, GivesTheSumOfTheShares)
{
    EXPECT_EQ(Pss(Sample("smaps")), 16U + 76 + 10 + 71 + 14 + 12);
}

TEST(ProcSample, GivesTheBytesReadAndWritten)
{
    EXPECT_EQ(IO(Sample("io")), Taken(172032, 204800));
}

TEST(ProcSample, GivesThePathsOfTheMappings)
{
    const std::string slow = "/opt/tools/slow";
    const std::string libc = "/usr/lib/x86_64-linux-gnu/libc.so.6";
    const std::string loader = "/usr/lib/x86_64-linux-gnu/ld-linux-x86-64.so.2";
    EXPECT_THAT(PathsIn(Sample("maps")),
                ElementsAre(slow, slow, slow, slow, slow, "", "[heap]", "", libc, libc, libc, libc, libc, "",
                            "", "[vvar]", "[vvar_vclock]", "[vdso]", loader, loader, loader, loader, loader,
                            "[stack]", "[vsyscall]"));
}

TEST(ProcSample, EndingAnywhereHarmsNobody)
{
    for (const char* name : {"stat", "system_stat", "io", "smaps", "maps"}) {
        const std::string text = Sample(name);
        for (size_t length = 0; length <= text.size(); ++length) {
            // A copy of its own, so that a sanitizer sees the first byte too far.
            const std::vector<char> cut(text.data(), text.data() + length);
            const std::string_view view(cut.data(), cut.size());
            unsigned long long first = 0;
            unsigned long long second = 0;
            StatTicksParse(view, first, second);
            TotalTicksParse(view, first);
            IOParse(view, first, second);
            EXPECT_LE(PssParse(view), 199U);
            EXPECT_LE(MapsPathParse(view).size(), length);
        }
    }
}

TEST(ProcessTicks, AreTheFieldsAfterThirteenWords)
{
    EXPECT_EQ(Stat(Words(13) + "12 34 56"), Taken(12, 34));
    EXPECT_EQ(Stat(" \t\v" + Words(12) + "w13\r\f 12\t34"), Taken(12, 34));
    EXPECT_EQ(Stat(Words(13) + "12 34\n" + Words(13) + "56 78\n"), Taken(12, 34));
}

TEST(ProcessTicks, AreNotThereInAShortLine)
{
    EXPECT_EQ(Stat(""), Refused());
    EXPECT_EQ(Stat("\n"), Refused());
    EXPECT_EQ(Stat(Words(13)), Refused());
    EXPECT_EQ(Stat(Words(12) + "12 34"), Refused(34)) << "12 is the thirteenth word";
    EXPECT_EQ(Stat(Words(13) + "12"), Refused(12));
    EXPECT_EQ(Stat(Words(13) + "12 "), Refused(12));
    EXPECT_EQ(Stat("\n" + Words(13) + "12 34"), Refused()) << "the first line is empty";
    EXPECT_EQ(Stat("1 (a\nb) " + Words(11) + "12 34"), Refused());
}

TEST(ProcessTicks, AreNumbers)
{
    EXPECT_EQ(Stat(Words(13) + "x 34"), Refused());
    EXPECT_EQ(Stat(Words(13) + "12 x"), Refused(12));
    EXPECT_EQ(Stat(Words(13) + "12x 34"), Refused(12));
    EXPECT_EQ(Stat(Words(13) + "0x12 34"), Refused(0));
    EXPECT_EQ(Stat(Words(13) + "12 34x"), Taken(12, 34));
    EXPECT_EQ(Stat(Words(13) + "12.5 34"), Refused(12));
    EXPECT_EQ(Stat(Words(13) + "+ 12 34"), Refused());
    EXPECT_EQ(Stat(Words(13) + "--12 34"), Refused());
    EXPECT_EQ(Stat(Words(13) + "12+34"), Taken(12, 34)) << "a sign begins a number";
    EXPECT_EQ(Stat(Words(13) + "007 -1"), Taken(7, ULLONG_MAX));
}

TEST(ProcessTicks, AreTheLargestNumberWhenTheyAreTooLarge)
{
    EXPECT_EQ(Stat(Words(13) + "18446744073709551615 18446744073709551614"),
              Taken(ULLONG_MAX, ULLONG_MAX - 1));
    EXPECT_EQ(Stat(Words(13) + "18446744073709551616 18446744073709551620"), Taken(ULLONG_MAX, ULLONG_MAX));
    EXPECT_EQ(Stat(Words(13) + "-99999999999999999999 5"), Taken(ULLONG_MAX, 5));
    EXPECT_EQ(Stat(Words(13) + std::string(100000, '9') + " " + std::string(100000, '0') + "7"),
              Taken(ULLONG_MAX, 7));
}

TEST(ProcessTicks, EndAtAZeroByteAndPassAnyOther)
{
    EXPECT_EQ(Stat(Words(13) + "12\0 34"s), Refused(12));
    EXPECT_EQ(Stat(Words(12) + "w\0 12 34"s), Refused());
    EXPECT_EQ(Stat(Words(12) + "\0 12 34"s), Refused());
    EXPECT_EQ(Stat(Words(12) + "\xff\xfe%s%n 12 34"), Taken(12, 34));
    EXPECT_EQ(Stat(Words(12) + std::string(1000000, 'w') + " 12 34"), Taken(12, 34));
}

TEST(MachineTicks, AreTheSumOfEightNumbers)
{
    EXPECT_EQ(Total("cpu  1 20 300 4000 50000 600000 7000000 80000000 9 9\n"), Taken(87654321));
    EXPECT_EQ(Total("cpu1 20 300 4000 50000 600000 7000000 80000000"), Taken(87654321));
    EXPECT_EQ(Total("cpu +1-1\t5\v6 7 8 9 10"), Taken(45)) << "the sum wraps round";
}

TEST(MachineTicks, AreLeftAloneWhenOneIsMissing)
{
    EXPECT_EQ(Total(""), Refused());
    EXPECT_EQ(Total("cpu"), Refused());
    EXPECT_EQ(Total("cpu 1 2 3 4 5 6 7"), Refused());
    EXPECT_EQ(Total("cpu 1 2 3 4 5 6 7\n8"), Refused());
    EXPECT_EQ(Total("cpu 1 2 3 4 5 6 7 x"), Refused());
    EXPECT_EQ(Total("cpu 1 2 3 4\0 5 6 7 8"s), Refused());
}

TEST(MachineTicks, AreInTheFirstLineThatBeginsWithTheirName)
{
    EXPECT_EQ(Total("intr 1\ncpu 1 2 3 4 5 6 7 8"), Refused());
    EXPECT_EQ(Total("\ncpu 1 2 3 4 5 6 7 8"), Refused());
    EXPECT_EQ(Total(" cpu 1 2 3 4 5 6 7 8"), Refused());
    EXPECT_EQ(Total("CPU 1 2 3 4 5 6 7 8"), Refused());
    EXPECT_EQ(Total("cp u 1 2 3 4 5 6 7 8"), Refused());
}

TEST(Shares, AreAddedUpWhateverElseThereIs)
{
    EXPECT_EQ(Pss("Pss: 1 kB\nRss: 2 kB\nPss:30\nPss:\t 400\n\nPss: x\nPss:\n"), 431U);
    EXPECT_EQ(Pss("Pss: 1\nPss: 2"), 3U) << "without a line feed at the end";
    EXPECT_EQ(Pss(" Pss: 1\nSwapPss: 2\nPss_Dirty: 3\nPss 4\npss: 5\nPss : 6\n"), 0U);
    EXPECT_EQ(Pss(""), 0U);
    EXPECT_EQ(Pss("Pss:\n1\n"), 0U) << "a number belongs to its line";
    EXPECT_EQ(Pss("Pss: \0001\nP\0ss: 1\nPss: 2\0003\n"s), 2U);
    EXPECT_EQ(Pss("Pss: 18446744073709551615\n"), ULLONG_MAX);
}

TEST(BytesOfAProcess, AreInTwoLinesThatFollowEachOther)
{
    EXPECT_EQ(IO("read_bytes: 1\nwrite_bytes: 2\n"), Taken(1, 2));
    EXPECT_EQ(IO("rchar: 9\nread_bytes:1\nwrite_bytes:\t2"), Taken(1, 2));
    EXPECT_EQ(IO("read_bytes: x\nread_bytes: 1\nwrite_bytes: 2"), Taken(1, 2));
    EXPECT_EQ(IO("read_bytes: 1\nwrite_bytes: 2\nread_bytes: 3\nwrite_bytes: 4"), Taken(1, 2));
}

TEST(BytesOfAProcess, AreRefusedWhenTheLinesAreApart)
{
    EXPECT_EQ(IO(""), Refused());
    EXPECT_EQ(IO("write_bytes: 2\n"), Refused());
    EXPECT_EQ(IO("read_bytes: 1"), Refused(1));
    EXPECT_EQ(IO("read_bytes: 1\n"), Refused(1));
    EXPECT_EQ(IO("read_bytes: 1\n\nwrite_bytes: 2\n"), Refused(1));
    EXPECT_EQ(IO("read_bytes: 1\nread_bytes: 3\nwrite_bytes: 2\n"), Refused(1))
        << "not looked for any further";
    EXPECT_EQ(IO("read_bytes: 1\ncancelled_write_bytes: 2\n"), Refused(1));
    EXPECT_EQ(IO(" read_bytes: 1\nwrite_bytes: 2\n"), Refused());
    EXPECT_EQ(IO("read_bytes: 1 write_bytes: 2\n"), Refused(1));
}

TEST(MappedPath, IsTheSeventhField)
{
    EXPECT_EQ(MappedPath("1-2 r--p 0 08:01 5 /a"), "/a");
    EXPECT_EQ(MappedPath("7f00-7fff rw-s 0001000 00:00 0    [stack:12]"), "[stack:12]");
    EXPECT_EQ(MappedPath(" 0x1f-0X2F\trwxp 0xAb 08:01 -5\v\f\r/a\n"), "/a");
}

TEST(MappedPath, IsCutAtABlank)
{
    EXPECT_EQ(MappedPath("1-2 r--p 0 08:01 5 /volume1/my files/a"), "/volume1/my");
    EXPECT_EQ(MappedPath("1-2 r--p 0 08:01 5 /volume1/a (deleted)"), "/volume1/a");
    EXPECT_EQ(MappedPath("1-2 r--p 0 08:01 5 /a\tb"), "/a");
    EXPECT_EQ(MappedPath("1-2 r--p 0 08:01 5 /a\0b"s), "/a");
}

TEST(MappedPath, IsEmptyInALineWithoutOne)
{
    for (const char* line : {"", "1-2 r--p 0 08:01 5", "1-2 r--p 0 08:01 5 ", "1-2 r--p 0 08:01 x /a",
                             "1-2 r--p 0 08:01", "1 -2 r--p 0 08:01 5 /a", "-2 r--p 0 08:01 5 /a",
                             "g-2 r--p 0 08:01 5 /a", "1-2 r--p g 08:01 5 /a"}) {
        EXPECT_EQ(MappedPath(line), "") << line;
    }
}

TEST(MappedPath, NeedsNoBlanksWhereAFieldEndsByItself)
{
    EXPECT_EQ(MappedPath("1-2r--p 0 08:01 5/a"), "/a");
    EXPECT_EQ(MappedPath("1- 2 r--p 008:01 5 /a /b"), "/a") << "the offset ends at the colon";
    EXPECT_EQ(MappedPath("0x-0x r--p 0x 08:01 5 /a"), "/a") << "a prefix is a number";
}

TEST(MappedPath, MayBeLong)
{
    const std::string path = "/" + std::string(1000000, 'p');
    EXPECT_EQ(MappedPath("1-2 r--p 0 08:01 5 " + path), path);
    EXPECT_EQ(MappedPath(std::string(100000, 'f') + "-2 r--p 0 08:01 " + std::string(100000, '9') + " /a"),
              "/a");
}

// Texts like those of the kernel, with mistakes.
class Mistakes
{
public:
    explicit Mistakes(std::uint32_t seed)
        : m_random(seed)
    {
    }

    size_t Below(size_t limit) { return m_random() % limit; }

    // Pieces that mean something to one of the formats.
    std::string Piece()
    {
        static const std::vector<std::string> pieces{" ",
                                                     " ",
                                                     "  ",
                                                     "\t",
                                                     "\v",
                                                     "\n",
                                                     "\r",
                                                     "-",
                                                     "+",
                                                     "0",
                                                     "0x",
                                                     "0X",
                                                     "0xg",
                                                     "-0x1",
                                                     "7",
                                                     "42",
                                                     "ff",
                                                     "G",
                                                     ":",
                                                     "cpu",
                                                     "/a",
                                                     "Pss:",
                                                     "read_bytes:",
                                                     "write_bytes:",
                                                     "r--p",
                                                     "08:01",
                                                     "[heap]",
                                                     "\xff",
                                                     "%s",
                                                     "\0"s,
                                                     "18446744073709551615",
                                                     "18446744073709551616",
                                                     "-18446744073709551615",
                                                     "-9",
                                                     "+3"};
        return pieces[Below(pieces.size())];
    }

    std::string Soup()
    {
        std::string text;
        for (size_t count = Below(20); count > 0; --count) {
            text += Piece();
            text += Below(2) == 0 ? " " : "";
        }
        return text;
    }

    std::string Mutated(std::string text)
    {
        for (size_t count = Below(4); count > 0; --count) {
            const size_t place = Below(text.size() + 1);
            const size_t length = Below(4);
            switch (Below(3)) {
            case 0:
                text.erase(place, length);
                break;
            case 1:
                text.replace(place, length, Piece());
                break;
            default:
                text.insert(place, text.substr(Below(text.size() + 1), length));
            }
        }
        return text;
    }

    // One of the lines, or a few of them, mutated or not, and sometimes nothing of the kind.
    std::string TextLike(const std::vector<std::string>& lines)
    {
        std::string text;
        for (size_t count = 1 + Below(3); count > 0; --count) {
            text += Below(8) == 0 ? Soup() : Mutated(lines[Below(lines.size())]);
            text += count > 1 || Below(2) == 0 ? "\n" : "";
        }
        return text;
    }

private:
    std::mt19937 m_random;
};

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> found;
    Lines lines(text);
    for (std::string_view line; lines.Next(line);) {
        found.emplace_back(line);
    }
    return found;
}

struct Format {
    const char* name;
    std::vector<std::string> lines; // as the kernel prints them
    Reading (*parse)(const std::string&);
    Reading (*byFormat)(const std::string&);
};

constexpr std::uint32_t kSeed = 20261121;
constexpr int kRounds = 20000;

void ExpectSameOnManyTexts(const Format& format)
{
    Mistakes mistakes(kSeed);
    int taken = 0;
    int refused = 0;
    for (int round = 0; round < kRounds; ++round) {
        const std::string text = mistakes.TextLike(format.lines);
        const Reading expected = format.byFormat(text);
        (std::get<0>(expected) ? taken : refused) += 1;
        ASSERT_EQ(format.parse(text), expected) << format.name << ", seed " << kSeed << ", round " << round
                                                << ": " << ::testing::PrintToString(text);
    }
    EXPECT_GT(taken, kRounds / 20) << "or the texts are nothing like the kernel's";
    EXPECT_TRUE(refused > kRounds / 20 || format.parse == PssParsed) << "or there are no mistakes in them";
}

TEST(ProcReader, ReadsTheTicksOfAProcessAsTheFormatDoes)
{
    ExpectSameOnManyTexts(
        {"stat", {Sample("stat"), Words(13) + "12 34", Words(14) + "12"}, StatParsed, StatByFormat});
}

TEST(ProcReader, ReadsTheTicksOfTheMachineAsTheFormatDoes)
{
    ExpectSameOnManyTexts({"system_stat", LinesOf(Sample("system_stat")), TotalParsed, TotalByFormat});
}

TEST(ProcReader, ReadsTheSharesAsTheFormatDoes)
{
    ExpectSameOnManyTexts(
        {"smaps", {"Pss:                  16 kB", "Pss: 7 kB", "SwapPss: 0 kB"}, PssParsed, PssByFormat});
}

TEST(ProcReader, ReadsTheBytesAsTheFormatDoes)
{
    const std::string pair = "read_bytes: 172032\nwrite_bytes: 204800";
    ExpectSameOnManyTexts(
        {"io", {pair, pair, "syscw: 7", "read_bytes: 5", "write_bytes: 6"}, IOParsed, IOByFormat});
}

TEST(ProcReader, ReadsThePathsOfMappingsAsTheFormatDoes)
{
    std::vector<std::string> lines = LinesOf(Sample("maps"));
    lines.insert(lines.end(), {"0x1-0X2 r--p 0x 08:01 -5 /a b", "+1--2 r--p +0 08:01 5/a"});
    Mistakes mistakes(kSeed);
    int found = 0;
    for (int round = 0; round < 2 * kRounds; ++round) {
        const std::string line = mistakes.TextLike(lines);
        const std::string expected = MappedPathByFormat(line);
        found += expected.empty() ? 0 : 1;
        ASSERT_EQ(MapsPathParse(line), expected)
            << "seed " << kSeed << ", round " << round << ": " << ::testing::PrintToString(line);
    }
    EXPECT_GT(found, kRounds / 2);
    EXPECT_LT(found, kRounds * 2 - kRounds / 20);
}

} // namespace
} // namespace VeskTest

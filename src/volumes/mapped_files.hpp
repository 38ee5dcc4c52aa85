#pragma once

#include <functional>
#include <string_view>

namespace VESK::Systemd
{

/** Takes a path; returns whether more are wanted. */
using PathTaker = std::function<bool(std::string_view svPath)>;

/**
 * The files that processes map, each as far as the text of the maps tells it: up to the first blank. Asked of the
 * kernel one by one where it answers (6.11 and later), which spares it the text; read from the text elsewhere.
 */
class MappedFiles
{
public:
    MappedFiles();

    /**
     * Hands over the paths of an open maps file until `take` wants no more, and sets `blMore` to whether it does.
     * False, with errno set, when the file could not be read to its end.
     */
    bool Visit(int fdMaps, const PathTaker& take, bool& blMore);

private:
    enum class Answer { All, Enough, None };
    Answer Ask(int fdMaps, const PathTaker& take);

    bool m_blAsk;
};

} // namespace VESK::Systemd

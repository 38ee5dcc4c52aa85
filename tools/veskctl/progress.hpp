#pragma once

/** The line that tells, on a terminal, what a call that takes longer than a second waits for. */

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace Veskctl
{

class Progress
{
public:
    /** `strWhat` is what is done: "start of foo.service". Nothing is shown where standard error is no terminal. */
    explicit Progress(const std::string& strWhat);
    /** Takes the line away. */
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /** Something else is done from now on; the line is away while that is empty, so that others may print. */
    void Now(const std::string& strWhat);

private:
    void Show();
    void Draw(long long nSeconds, const std::string& strJobs);
    void Clear();

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_strWhat;
    bool m_blEnded = false;
    bool m_blShown = false;
    std::thread m_thread;
};

/** Calls `work` with such a line beside it. */
template <typename Work>
auto WithProgress(const std::string& strWhat, Work&& work)
{
    const Progress progress(strWhat);
    return work();
}

} // namespace Veskctl

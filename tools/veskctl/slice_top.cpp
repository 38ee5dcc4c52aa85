#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include "number.hpp"
#include "output.hpp"
#include "slice_usage.hpp"

namespace Veskctl
{
namespace
{

using Clock = std::chrono::steady_clock;

// What a signal handler may touch has to be global.
volatile sig_atomic_t ended = 0;

void End(int)
{
    ended = 1;
}

void Ignore(int) {}

/** What Ctrl-C types where keys send no signals: one that stopped this would leave the terminal as it is. */
constexpr char kInterrupt = '\003';

/** The terminal without echo, lines and signals, with an empty screen of its own; as it was afterwards. */
class Screen
{
public:
    Screen()
    {
        tcgetattr(STDIN_FILENO, &m_before);
        termios raw = m_before;
        raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
        tcsetattr(STDIN_FILENO, TCSANOW, &raw);
        Write("\033[?1049h\033[?25l");
        struct sigaction action {
        };
        action.sa_handler = End;
        for (const int nSignal : {SIGINT, SIGTERM, SIGHUP}) {
            sigaction(nSignal, &action, nullptr);
        }
        // So that a change of the size ends the wait for a key.
        action.sa_handler = Ignore;
        sigaction(SIGWINCH, &action, nullptr);
    }
    ~Screen()
    {
        Write("\033[?25h\033[?1049l");
        tcsetattr(STDIN_FILENO, TCSANOW, &m_before);
    }
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    static void Draw(const SliceUsages& vecUsages, const std::string& strKey)
    {
        winsize size{};
        const bool blKnown = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
        const std::string strFrame =
            TopFrame(vecUsages, strKey, blKnown ? size.ws_col : 80, blKnown ? size.ws_row : 24);
        std::string strBytes = "\033[H";
        for (const char c : strFrame) {
            strBytes += c == '\n' ? "\033[K\r\n" : std::string(1, c);
        }
        Write(strBytes + "\033[K\033[J");
    }

private:
    static void Write(const std::string& strBytes) { std::cout << strBytes << std::flush; }

    termios m_before{};
};

/** What a key does: sorts, or ends. */
void KeyTake(char c, std::string& strKey)
{
    for (const std::string& strSort : SortKeys()) {
        strKey = strSort[0] == c ? strSort : strKey;
    }
    if (c == 'q' || c == 'Q' || c == kInterrupt) {
        ended = 1;
    }
}

/** Waits for a key until then; draws again at each, and when the terminal changes its size. */
void KeysAwait(Clock::time_point until, SliceUsages& vecUsages, std::string& strKey)
{
    while (ended == 0 && Clock::now() < until) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now());
        pollfd input{STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, static_cast<int>(std::max<long long>(left.count(), 1))) > 0) {
            char c = 'q';
            (void)!read(STDIN_FILENO, &c, 1);
            KeyTake(c, strKey);
        }
        Sort(vecUsages, strKey);
        Screen::Draw(vecUsages, strKey);
    }
}

Exit Interactive(std::chrono::seconds interval, std::string strKey)
{
    const Screen screen;
    // The first numbers come soon.
    auto pause = std::chrono::milliseconds(300);
    SliceUsages vecUsages;
    while (ended == 0) {
        const SliceSamples samples;
        KeysAwait(Clock::now() + pause, vecUsages, strKey);
        vecUsages = samples.UsagesGet();
        pause = interval;
    }
    return Exit::Done;
}

Exit Once(const Call& call, std::chrono::seconds interval, const std::string& strKey)
{
    const SliceSamples samples;
    std::this_thread::sleep_for(interval);
    SliceUsages vecUsages = samples.UsagesGet();
    Sort(vecUsages, strKey);
    if (call.Has("json")) {
        PrintJson(UsagesJson(vecUsages));
    } else {
        std::cout << TopFrame(vecUsages, strKey, 100, vecUsages.size() + 2) << '\n';
    }
    return Exit::Done;
}

} // namespace

Exit TopRun(const Call& call)
{
    const std::string strKey = call.Has("sort") ? call.Value("sort") : "cpu";
    const int nSeconds = call.Has("interval") ? NumberOf(call.Value("interval"), 3600) : 1;
    if (nSeconds == 0 || std::count(SortKeys().begin(), SortKeys().end(), strKey) == 0) {
        Complain("--interval takes seconds from 1 to 3600, --sort one of cpu, memory, io and name");
        return Exit::WrongUse;
    }
    const bool blScreen = IsTerminal(STDIN_FILENO) && IsTerminal(STDOUT_FILENO);
    if (call.Has("once") || call.Has("json") || !blScreen) {
        return Once(call, std::chrono::seconds(nSeconds), strKey);
    }
    return Interactive(std::chrono::seconds(nSeconds), strKey);
}

} // namespace Veskctl

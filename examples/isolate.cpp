// Isolates the system to a target and tells what became of the units that it stops: isolate TARGET
#include <iostream>

#include <vesksystemd.hpp>

const char* Told(VESK_SYSTEMD_ISOLATE_WAIT_STOP_RESULT result)
{
    switch (result) {
    case VESK_SYSTEMD_ISOLATE_WAIT_STOP_DONE:
        return "all have stopped";
    case VESK_SYSTEMD_ISOLATE_WAIT_STOP_TIMEOUT:
        return "some are still stopping";
    case VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED:
        return "whether they have stopped is not known";
    }
    return "";
}

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: isolate TARGET\n";
        return 2;
    }
    // Written only when the isolation has succeeded, or the queue could not be read before it.
    auto result = VESK_SYSTEMD_ISOLATE_WAIT_STOP_JOB_LIST_FAILED;
    if (!VESKSystemdIsolateTarget(argv[1], &result)) {
        std::cout << "failed\n";
        return 1;
    }
    std::cout << Told(result) << '\n';
    return 0;
}

// Tells what the processes of a slice use, over a second: slice_processes SLICE
#include <chrono>
#include <iomanip>
#include <iostream>
#include <set>
#include <thread>

#include <vesksystemd.hpp>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: slice_processes SLICE\n";
        return 2;
    }
    // Each process is sampled here ...
    std::set<VESK::Systemd::Process> processes;
    if (!VESK::Systemd::Slice::ProcessList(argv[1], processes)) {
        std::cerr << argv[1] << " cannot be read\n";
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::seconds(1));
    std::cout << std::fixed << std::setprecision(1);
    for (const auto& process : processes) {
        // ... and once more here: what it has used in between.
        const auto [read, written] = process.IOUtilizationGet();
        std::cout << process.PidGet() << ' ' << process.NameGet() << ": processor "
                  << process.CPUUtilizationGet() * 100 << " %, memory " << process.MemoryPssGet()
                  << " kB, read " << read << " B/s, written " << written << " B/s\n";
    }
    return 0;
}

// Tells which services use a volume, or runs a command while they are stopped:
// unmount_volume users|run MOUNT-PATH [COMMAND]
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include <vesksystemd.hpp>

// Whatever keeps files, a working directory or a program on the volume open shows up here.
int TellUsers(const std::string& volume)
{
    std::vector<std::string> services;
    if (!VESKSystemdServiceListByMntPath(volume, services)) {
        return 1;
    }
    for (const auto& service : services) {
        std::cout << "uses " << volume << ": " << service << '\n';
    }
    return 0;
}

// Runs while the services are down. They are started again after it, whether it succeeds or not.
bool RunCommand(void* command)
{
    return std::system(static_cast<const char*>(command)) == 0;
}

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.size() == 2 && words[0] == "users") {
        return TellUsers(words[1]);
    }
    if (words.size() == 3 && words[0] == "run") {
        const bool done = VESKSystemdVolumeUnmountAction({words[1]}, RunCommand, argv[3]);
        std::cout << (done ? "done\n" : "failed\n");
        return done ? 0 : 1;
    }
    std::cerr << "usage: unmount_volume users MOUNT-PATH | unmount_volume run MOUNT-PATH COMMAND\n";
    return 2;
}

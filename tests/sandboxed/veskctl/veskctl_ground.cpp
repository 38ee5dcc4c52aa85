#include "veskctl_ground.hpp"

#include <gtest/gtest.h>
#include <json/reader.h>
#include <sstream>

#include "files.hpp"
#include "shell.hpp"

namespace VeskTest
{

bool operator==(const Use& left, const Use& right)
{
    return left.exitCode == right.exitCode && left.out == right.out && left.err == right.err;
}

std::ostream& operator<<(std::ostream& stream, const Use& use)
{
    return stream << "exit code " << use.exitCode << "\n--- output\n" << use.out << "--- errors\n" << use.err;
}

namespace
{

int ExitCode(const ShellResult& result)
{
    return result.ending.kind == Ending::Kind::Exited ? result.ending.number : -1;
}

} // namespace

Use Veskctl(const std::string& arguments)
{
    const ShellResult result =
        RunShell(std::string(VESKCTL) + " " + arguments + " 2>/tmp/veskctl-errors </dev/null");
    return {ExitCode(result), result.output, ReadText("/tmp/veskctl-errors")};
}

Use VeskctlAtTerminal(const std::string& arguments, const std::string& input)
{
    WriteText("/tmp/veskctl-input", input);
    const ShellResult result = RunShell("TERM=xterm script -qec '" + std::string(VESKCTL) + " " + arguments +
                                        "' /dev/null </tmp/veskctl-input");
    return {ExitCode(result), result.output, ""};
}

Json::Value VeskctlJson(const std::string& arguments)
{
    std::istringstream text(Veskctl(arguments + " --json").out);
    Json::Value value;
    std::string errors;
    EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), text, &value, &errors))
        << errors << text.str();
    return value;
}

std::vector<std::string> StateQuestion(const std::string& unit)
{
    return {"show",
            "--property=LoadState",
            "--property=LoadError",
            "--property=ActiveState",
            "--property=SubState",
            "--property=Result",
            "--property=ExecMainStatus",
            unit};
}

std::string StateAnswer(const std::string& active, const std::string& sub, const std::string& result,
                        int status)
{
    return "LoadState=loaded\nActiveState=" + active + "\nSubState=" + sub + "\nResult=" + result +
           "\nExecMainStatus=" + std::to_string(status) + "\n";
}

std::string NotFoundAnswer(const std::string& unit)
{
    return "LoadState=not-found\nLoadError=org.freedesktop.systemd1.NoSuchUnit \"Unit " + unit +
           " not found.\"\nActiveState=inactive\nSubState=dead\nResult=success\nExecMainStatus=0\n";
}

} // namespace VeskTest

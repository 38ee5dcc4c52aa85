// systemctl-stand-in: a program that stands where systemctl (or any other, by the name it is called by) is
// expected, records every call and answers it by the rules that a test wrote.

#include <cstddef>
#include <cstdio>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "answer.hpp"
#include "call_record.hpp"
#include "descriptor.hpp"
#include "error.hpp"
#include "script.hpp"

namespace
{

using VeskGround::Field;

constexpr int kExitUnexpected = 199;

std::string BaseName(const char* path)
{
    const std::string name = path == nullptr ? "" : path;
    const std::string base = name.substr(name.rfind('/') + 1);
    return base.empty() ? "systemctl" : base;
}

// Counters that all calls of a program share: slot 0 numbers the calls, slot N + 1 counts those of rule N.
// Held locked from a call's matching to its record, so that both have one order.
class SharedState
{
public:
    explicit SharedState(const std::string& path)
        : m_path(path)
        , m_file(VeskGround::Require(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666), "open", path))
    {
        fchmod(m_file.Get(), 0666);
        while (flock(m_file.Get(), LOCK_EX) != 0) {
            if (errno != EINTR) {
                VeskGround::ThrowErrno("lock", path);
            }
        }
    }

    std::uint64_t Next(std::size_t slot)
    {
        std::uint64_t value = 0;
        const auto offset = static_cast<off_t>(slot * sizeof value);
        VeskGround::Require(pread(m_file.Get(), &value, sizeof value, offset), "read", m_path);
        const std::uint64_t next = value + 1;
        VeskGround::Require(pwrite(m_file.Get(), &next, sizeof next, offset), "write", m_path);
        return value;
    }

private:
    std::string m_path;
    VeskGround::Descriptor m_file;
};

void StoreRecord(const std::string& folder, std::uint64_t order, const std::vector<Field>& record)
{
    std::string text = VeskGround::FormatField({"order", order, ""});
    for (const Field& field : record) {
        text += VeskGround::FormatField(field);
    }
    const std::string path = folder + "/calls/" + VeskGround::RecordName(order);
    const std::string temporary = folder + "/." + VeskGround::RecordName(order);
    VeskGround::WriteFile(temporary, text, 0644);
    VeskGround::Require(rename(temporary.c_str(), path.c_str()), "rename to", path);
}

int Unexpected(const std::string& program, const std::vector<std::string>& arguments)
{
    std::string line = "unexpected call: " + program;
    for (const std::string& argument : arguments) {
        line += " " + argument;
    }
    VeskGround::PrintError(line);
    return kExitUnexpected;
}

// The answer to this call, after it has been counted and recorded; null when no rule is meant for it.
const std::vector<Field>* ChooseAnswer(const std::string& folder, const std::vector<Field>& record,
                                       const std::vector<VeskGround::Rule>& rules,
                                       const std::vector<std::string>& arguments)
{
    SharedState state(folder + "/state");
    StoreRecord(folder, state.Next(0), record);
    const std::size_t index = VeskGround::FindRule(rules, arguments);
    if (index == VeskGround::kNoRule || rules[index].answers.empty()) {
        return nullptr;
    }
    return &rules[index].AnswerTo(state.Next(index + 1));
}

int Run(int argc, char** argv)
{
    const std::vector<Field> record = VeskGround::DescribeThisProcess(argc, argv);
    const std::string program = BaseName(argc > 0 ? argv[0] : nullptr);
    const std::string folder = VeskGround::ScriptFolder(program);
    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (access(folder.c_str(), F_OK) != 0) {
        return Unexpected(program, arguments);
    }
    const auto rules = VeskGround::ParseRules(VeskGround::ReadFile(folder + "/rules"));
    const std::vector<Field>* answer = ChooseAnswer(folder, record, rules, arguments);
    return answer == nullptr ? Unexpected(program, arguments) : VeskGround::PlayAnswer(*answer);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        VeskGround::PrintError(std::string("systemctl-stand-in: ") + error.what());
        return kExitUnexpected;
    }
}

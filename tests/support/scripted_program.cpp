#include "scripted_program.hpp"

#include <cstdio>
#include <filesystem>
#include <set>

#include "descriptor.hpp"

namespace VeskTest
{

namespace
{

namespace fs = std::filesystem;

constexpr const char* kStandIn = "/run/sandbox/stand-in";

void SetNumber(const VeskGround::Field& field, Call& call)
{
    if (field.tag == "order") {
        call.order = field.number;
    } else if (field.tag == "pid") {
        call.pid = static_cast<pid_t>(field.number);
    } else if (field.tag == "ppid") {
        call.parent = static_cast<pid_t>(field.number);
    } else if (field.tag == "uid") {
        call.user = static_cast<uid_t>(field.number);
    } else if (field.tag == "blocked") {
        call.blockedSignals = field.number;
    } else if (field.tag == "ignored") {
        call.ignoredSignals = field.number;
    } else if (field.tag == "caught") {
        call.caughtSignals = field.number;
    }
}

Call ParseCall(const std::string& text)
{
    Call call;
    for (const VeskGround::Field& field : VeskGround::ParseFields(text)) {
        if (field.tag == "argv") {
            call.argv.push_back(field.bytes);
        } else if (field.tag == "env") {
            call.environment.push_back(field.bytes);
        } else if (field.tag == "fd") {
            call.descriptors[static_cast<int>(field.number)] = field.bytes;
        } else if (field.tag == "cwd") {
            call.folder = field.bytes;
        } else {
            SetNumber(field, call);
        }
    }
    call.arguments.assign(call.argv.begin() + (call.argv.empty() ? 0 : 1), call.argv.end());
    return call;
}

std::string Join(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

// The programs that a test runs may belong to any user.
void MakeFolderForAll(const fs::path& path)
{
    fs::create_directories(path);
    fs::permissions(path, fs::perms::all);
}

} // namespace

Answering& Answering::Add(const std::string& tag, std::uint64_t number, const std::string& bytes)
{
    m_program->m_rules[m_rule].answers.back().push_back({tag, number, bytes});
    m_program->Save();
    return *this;
}

Answering& Answering::Stdout(const std::string& bytes, std::uint64_t times)
{
    return Add("out", times, bytes);
}

Answering& Answering::Stderr(const std::string& bytes, std::uint64_t times)
{
    return Add("err", times, bytes);
}

Answering& Answering::Exit(int code)
{
    return Add("exit", static_cast<std::uint64_t>(code));
}

Answering& Answering::Kill(int signal)
{
    return Add("kill", static_cast<std::uint64_t>(signal));
}

Answering& Answering::Delay(std::uint64_t milliseconds)
{
    return Add("delay", milliseconds);
}

Answering& Answering::CreateFile(const std::string& path)
{
    return Add("create", 0, path);
}

Answering& Answering::RemoveFile(const std::string& path)
{
    return Add("remove", 0, path);
}

Answering& Answering::WriteFile(const std::string& path, const std::string& text)
{
    return Add("write", 0, path + '\0' + text);
}

Answering& Answering::WaitForFile(const std::string& path)
{
    return Add("wait", 0, path);
}

Answering& Answering::Ignore(int signal)
{
    return Add("ignore", static_cast<std::uint64_t>(signal));
}

Answering& Answering::Then()
{
    m_program->m_rules[m_rule].answers.emplace_back();
    m_program->Save();
    return *this;
}

ScriptedProgram::ScriptedProgram(const std::string& path)
    : m_path(path)
    , m_folder(VeskGround::ScriptFolder(fs::path(path).filename()))
{
    fs::remove_all(m_folder);
    MakeFolderForAll(m_folder);
    MakeFolderForAll(m_folder + "/calls");
    Restore();
}

void ScriptedProgram::Remove()
{
    fs::remove(m_path);
}

void ScriptedProgram::Restore()
{
    fs::create_directories(fs::path(m_path).parent_path());
    fs::remove(m_path);
    fs::copy_file(kStandIn, m_path);
}

Answering ScriptedProgram::On(const std::vector<std::string>& arguments)
{
    return AddRule(true, arguments);
}

Answering ScriptedProgram::OnLeading(const std::vector<std::string>& arguments)
{
    return AddRule(false, arguments);
}

Answering ScriptedProgram::OnAny()
{
    return AddRule(false, {});
}

Answering ScriptedProgram::AddRule(bool exact, const std::vector<std::string>& arguments)
{
    m_rules.push_back({exact, arguments, {{}}});
    Save();
    return {*this, m_rules.size() - 1};
}

void ScriptedProgram::Save() const
{
    const std::string temporary = m_folder + "/.rules";
    VeskGround::WriteFile(temporary, VeskGround::FormatRules(m_rules), 0644);
    fs::permissions(temporary, static_cast<fs::perms>(0644));
    fs::rename(temporary, m_folder + "/rules");
}

std::vector<Call> ScriptedProgram::Calls() const
{
    std::set<fs::path> paths;
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder + "/calls")) {
        paths.insert(entry.path());
    }
    std::vector<Call> calls;
    calls.reserve(paths.size());
    for (const fs::path& path : paths) {
        calls.push_back(ParseCall(VeskGround::ReadFile(path)));
    }
    return calls;
}

std::vector<std::string> ScriptedProgram::Arguments() const
{
    const std::vector<Call> calls = Calls();
    std::vector<std::string> lines;
    lines.reserve(calls.size());
    for (const Call& call : calls) {
        lines.push_back(Join(call.arguments));
    }
    return lines;
}

void ScriptedProgram::ForgetCalls()
{
    for (const fs::directory_entry& entry : fs::directory_iterator(m_folder + "/calls")) {
        fs::remove(entry.path());
    }
}

} // namespace VeskTest

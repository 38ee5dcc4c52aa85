// A real systemd for tests of the live tier: unit files of services, what the real systemctl says about them,
// and two ordinary users with managers of their own. Only inside the live test ground.
#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "children.hpp"
#include "unit_files.hpp"

namespace VeskTest
{

// A unit file, line by line. Sections come in the order of their first lines.
class UnitText
{
public:
    UnitText& Line(const std::string& section, const std::string& line);
    UnitText& Unit(const std::string& line) { return Line("Unit", line); }
    UnitText& Service(const std::string& line) { return Line("Service", line); }
    UnitText& Install(const std::string& line) { return Line("Install", line); }

    std::string Text() const;

private:
    struct Section {
        std::string name;
        std::string lines;
    };
    std::vector<Section> m_sections;
};

// Services by their behaviour. All can be enabled for multi-user.target.
UnitText OneshotService(const std::string& command = "/bin/true"); // active as long as the command runs
UnitText LastingService();                                         // a oneshot that stays active
UnitText RunningService();                                         // sleeps until it is stopped
UnitText FailingService(int exitCode = 1);                         // a oneshot whose start fails
UnitText HangingService();                                         // its start job runs until it is canceled
UnitText SlowToStopService(int seconds);                           // its stop job runs that long

// Writes the unit file and has systemd read it.
void AddUnit(const std::string& name, const UnitText& text, UnitFolder folder = UnitFolder::Usr);

// Masks the unit for good and has systemd read it.
void AddMask(const std::string& name);

// What a command printed, standard error included, and how it ended: its exit code or 128 and the signal.
struct Outcome {
    int exitCode = -1;
    std::string output;
};
Outcome RunCommand(const std::vector<std::string>& command);

// The real systemctl, neither the library nor the adapter in front of it.
Outcome RealSystemctl(const std::vector<std::string>& arguments);

// Like RealSystemctl, but throws with what it printed when it fails.
std::string MustSystemctl(const std::vector<std::string>& arguments);

void DaemonReload();
std::string Property(const std::string& unit, const std::string& name);
std::string ActiveState(const std::string& unit);

// True once the property has the value; false when it has not within half a minute.
bool AwaitProperty(const std::string& unit, const std::string& name, const std::string& value);
bool AwaitActiveState(const std::string& unit, const std::string& value);

// Queues a job and does not wait for it; true once systemd lists a job of the unit.
bool QueueJob(const std::string& verb, const std::string& unit);

struct OrdinaryUser {
    const char* name;
    uid_t id;
};
constexpr OrdinaryUser kAlice = {"alice", 1001};
constexpr OrdinaryUser kBob = {"bob", 1002};

// Starts and stops the user's own systemd. A user's units are looked for in ~/.config/systemd/user.
void StartUserManager(const OrdinaryUser& user);
void StopUserManager(const OrdinaryUser& user);
void AddUserUnit(const OrdinaryUser& user, const std::string& name, const UnitText& text);

// Runs FUNCTION in a child that is the user with all its groups, in its home, with an environment of HOME,
// USER, LOGNAME, SHELL and PATH alone.
Ending RunAsUser(const OrdinaryUser& user, const std::function<int()>& function);

} // namespace VeskTest

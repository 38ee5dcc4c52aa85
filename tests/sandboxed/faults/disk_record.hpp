// What an operation writes below a folder, and what a disk may hold of it when the power goes.
#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace VeskTest
{

// A system call that changed something, or made sure of it.
struct DiskCall {
    enum class Kind { Create, Write, Cut, SyncFile, SyncFolder, SyncAll, Rename, Unlink };
    Kind kind = Kind::Create;
    std::string path;
    std::string other; // the new path, or what was written
};

std::string ShownCall(const DiskCall& call);

// Runs FUNCTION in a forked child, and tells what it and its forked children did below the folder, in order.
std::vector<DiskCall> RecordDiskCalls(const std::string& folder, const std::function<void()>& function);

// Every text that the file may have after the power has gone behind the first COUNT calls: what was synced is there,
// and of all else any part; "" stands for no file, and each text is within quotes.
std::set<std::string> TextsAfterPowerCut(const std::map<std::string, std::string>& before,
                                         const std::vector<DiskCall>& calls, std::size_t count,
                                         const std::string& path);

} // namespace VeskTest

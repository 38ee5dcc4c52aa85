#include "vesksystemd.hpp"

#include <boost/bimap.hpp>
#include <initializer_list>

#include "core/immortal.hpp"

namespace VESK::Systemd
{
namespace
{

template <typename Value>
using WordMap = boost::bimap<Value, std::string>;

template <typename Value>
WordMap<Value> WordMapOf(std::initializer_list<typename WordMap<Value>::value_type> rows)
{
    return WordMap<Value>(rows.begin(), rows.end());
}

// Made when the library is loaded, so that a caller's static objects may use them. "unknow" is this library's own
// word for what systemd has no word for.
const auto* const kTypes = Immortal(
    WordMapOf<JobType>({{JobType::Unknown, "unknow"}, {JobType::Start, "start"}, {JobType::Stop, "stop"}}));
const auto* const kStates = Immortal(WordMapOf<JobState>(
    {{JobState::Unknown, "unknow"}, {JobState::Running, "running"}, {JobState::Waiting, "waiting"}}));

template <typename View, typename Key, typename Value>
bool Lookup(const View& view, const Key& key, Value& value)
{
    const auto it = view.find(key);
    if (it == view.end()) {
        return false;
    }
    value = it->second;
    return true;
}

} // namespace

bool JobStringMap::TypeToString(JobType type, std::string& strWord)
{
    return Lookup(kTypes->left, type, strWord);
}

bool JobStringMap::StringToType(const std::string& strWord, JobType& type)
{
    return Lookup(kTypes->right, strWord, type);
}

bool JobStringMap::StateToString(JobState state, std::string& strWord)
{
    return Lookup(kStates->left, state, strWord);
}

bool JobStringMap::StringToState(const std::string& strWord, JobState& state)
{
    return Lookup(kStates->right, strWord, state);
}

} // namespace VESK::Systemd

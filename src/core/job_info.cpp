#include "vesksystemd.hpp"

#include <boost/bimap.hpp>
#include <boost/format.hpp>

#include "core/log.hpp"

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

const WordMap<JobType>& Types()
{
    // "unknow" is this library's own word for what systemd has no word for.
    static const auto map = WordMapOf<JobType>(
        {{JobType::Unknown, "unknow"}, {JobType::Start, "start"}, {JobType::Stop, "stop"}});
    return map;
}

const WordMap<JobState>& States()
{
    static const auto map = WordMapOf<JobState>(
        {{JobState::Unknown, "unknow"}, {JobState::Running, "running"}, {JobState::Waiting, "waiting"}});
    return map;
}

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
    return Lookup(Types().left, type, strWord);
}

bool JobStringMap::StringToType(const std::string& strWord, JobType& type)
{
    return Lookup(Types().right, strWord, type);
}

bool JobStringMap::StateToString(JobState state, std::string& strWord)
{
    return Lookup(States().left, state, strWord);
}

bool JobStringMap::StringToState(const std::string& strWord, JobState& state)
{
    return Lookup(States().right, strWord, state);
}

std::string JobInfo::ToString() const
{
    std::string strType;
    std::string strState;
    if (!JobStringMap::TypeToString(type, strType) || !JobStringMap::StateToString(state, strState)) {
        VESK_LOG(LOG_ERR, "%s:%d Failed to convert to string", VESK_HERE);
        return {};
    }
    return (boost::format("%1% %2% %3% %4%") % id % unit % strType % strState).str();
}

} // namespace VESK::Systemd

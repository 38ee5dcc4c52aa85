// The platform's list of strings, as a value. For programs that link veskcore.
#pragma once

#include <string>
#include <vector>
#include <veskcore.h>

namespace VeskTest
{

// A VLIBCSzList that is freed at the end; Address() is for calls that take the list by address and may move
// it.
class CList
{
public:
    explicit CList(const std::vector<std::string>& items = {})
        : m_list(VLIBCSzListAlloc(512))
    {
        for (const std::string& item : items) {
            VLIBCSzListPush(&m_list, item.c_str());
        }
    }
    ~CList() { VLIBCSzListFree(m_list); }
    CList(const CList&) = delete;
    CList& operator=(const CList&) = delete;

    VLIBCSzList* Get() const { return m_list; }
    VLIBCSzList** Address() { return &m_list; }

    std::vector<std::string> Items() const
    {
        std::vector<std::string> items;
        for (int index = 0; index < VLIBCSzListCount(m_list); ++index) {
            items.emplace_back(VLIBCSzListGet(m_list, index));
        }
        return items;
    }

private:
    VLIBCSzList* m_list;
};

} // namespace VeskTest

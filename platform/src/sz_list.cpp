#include "guard.h"
#include "veskcore.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>

using VESK::Platform::Fail;
using VESK::Platform::Guarded;

/** A deque: a text that was handed out stays where it is when others are pushed. */
struct VLIBCSzList {
    std::deque<std::string> texts;
};

VLIBCSzList* VLIBCSzListAlloc(int)
{
    return Guarded<VLIBCSzList*>(nullptr, [] { return std::make_unique<VLIBCSzList>().release(); });
}

int VLIBCSzListPush(VLIBCSzList** list, const char* text)
{
    return Guarded(-1, [=] {
        if (list == nullptr || *list == nullptr || text == nullptr) {
            return Fail(-1, VLIBC_ERR_ARGUMENT);
        }
        (*list)->texts.emplace_back(text);
        return 0;
    });
}

const char* VLIBCSzListGet(const VLIBCSzList* list, int index)
{
    if (index < 0 || index >= VLIBCSzListCount(list)) {
        return Fail<const char*>(nullptr, VLIBC_ERR_ARGUMENT);
    }
    return list->texts[static_cast<std::size_t>(index)].c_str();
}

int VLIBCSzListCount(const VLIBCSzList* list)
{
    return list != nullptr ? static_cast<int>(list->texts.size()) : 0;
}

void VLIBCSzListFree(VLIBCSzList* list)
{
    const std::unique_ptr<VLIBCSzList> owned(list);
}

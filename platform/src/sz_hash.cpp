#include "sz_hash.h"

#include "guard.h"

#include <memory>

using VESK::Platform::Fail;
using VESK::Platform::Guarded;

VLIBCSzHash* VLIBCSzHashAlloc(int)
{
    return Guarded<VLIBCSzHash*>(nullptr, [] { return std::make_unique<VLIBCSzHash>().release(); });
}

int VLIBCSzHashSetValue(VLIBCSzHash** hash, const char* key, const char* value)
{
    return Guarded(-1, [=] {
        if (hash == nullptr || *hash == nullptr || key == nullptr || value == nullptr) {
            return Fail(-1, VLIBC_ERR_ARGUMENT);
        }
        auto& [values, places] = **hash;
        const auto known = places.find(key);
        if (known != places.end()) {
            values[known->second].second = value;
            return 0;
        }
        values.emplace_back(key, value);
        try {
            places.emplace(key, values.size() - 1);
        } catch (...) {
            values.pop_back();
            throw;
        }
        return 0;
    });
}

void VLIBCSzHashFree(VLIBCSzHash* hash)
{
    const std::unique_ptr<VLIBCSzHash> owned(hash);
}

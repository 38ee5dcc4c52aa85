#pragma once

#include <string>

#include <veskcore.h>

namespace VESK::Systemd
{

/** The platform's table of strings. */
class KeyTable
{
public:
    KeyTable()
        : m_pHash(VLIBCSzHashAlloc(1024))
    {
    }
    ~KeyTable() { VLIBCSzHashFree(m_pHash); }
    KeyTable(const KeyTable&) = delete;
    KeyTable& operator=(const KeyTable&) = delete;

    VLIBCSzHash* Get() const { return m_pHash; }

    bool Set(const std::string& strKey, const std::string& strValue)
    {
        return VLIBCSzHashSetValue(&m_pHash, strKey.c_str(), strValue.c_str()) >= 0;
    }

private:
    VLIBCSzHash* m_pHash;
};

} // namespace VESK::Systemd

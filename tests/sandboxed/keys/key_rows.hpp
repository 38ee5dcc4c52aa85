// The accessors of unit-file keys, each a row.
#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <string>
#include <vector>
#include <vesksystemd.hpp>

#include "refused.hpp"
#include "unit_files.hpp"

namespace VeskTest
{

// The names of the output in the checks of the C form are part of the row.
struct TextKeyRow {
    const char* name;
    const char* file;
    bool (*get)(const std::string&, std::string&);
    int (*cGet)(const char*, char*, size_t);
    const char* bufferCheck;
    const char* sizeCheck;
};

struct FlagKeyRow {
    const char* name;
    const char* file;
    bool (*get)(const std::string&, bool&);
    int (*cGet)(const char*, bool*);
    const char* outputCheck;
};

struct TargetsKeyRow {
    const char* name;
    const char* file;
    bool (*get)(const std::string&, Words&);
};

struct RowName {
    template <typename Row>
    std::string operator()(const ::testing::TestParamInfo<Row>& info) const
    {
        return info.param.name;
    }
};

// Writes the unit "foo" with these lines in the section of the platform's keys.
inline void WriteKeys(const std::string& lines, const std::string& unit = "foo.service")
{
    WriteUnitFile(UnitFolder::Usr, unit, "[Unit]\nName=wrong\n[X-Veskline]\n" + lines);
}

inline void ClearErrorRecord()
{
    VLIBCErrSetEx(0, "", 0);
}

} // namespace VeskTest

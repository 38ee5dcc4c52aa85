#pragma once

#include "unit_text.h"
#include "veskcore.h"

#include <cstddef>
#include <string>
#include <unordered_map>

struct VLIBCSzHash {
    VESK::Platform::KeyValues values;
    std::unordered_map<std::string, std::size_t> places;
};

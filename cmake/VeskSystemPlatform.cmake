# The platform's own libraries, for VESK_PLATFORM=system: imported targets veskcore and veskbootseq.
include_guard()

# vesk_system_library(NAME): finds libNAME and NAME.h, also in the places that CMAKE_PREFIX_PATH adds.
function(vesk_system_library name)
    find_library(${name}_LIBRARY NAMES ${name} lib${name}.so.${PROJECT_VERSION_MAJOR}
        DOC "The platform's lib${name}.so.${PROJECT_VERSION_MAJOR}")
    find_path(${name}_INCLUDE_DIR NAMES ${name}.h DOC "The folder of the platform's ${name}.h")
    if(NOT ${name}_LIBRARY OR NOT ${name}_INCLUDE_DIR)
        message(FATAL_ERROR
            "VESK_PLATFORM=system needs the platform's ${name}: library '${${name}_LIBRARY}', header folder "
            "'${${name}_INCLUDE_DIR}'. Name its prefix with CMAKE_PREFIX_PATH, or set ${name}_LIBRARY and "
            "${name}_INCLUDE_DIR; VESK_PLATFORM=bundled builds the bundled one instead.")
    endif()
    add_library(${name} SHARED IMPORTED GLOBAL)
    set_target_properties(${name} PROPERTIES
        IMPORTED_LOCATION "${${name}_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${${name}_INCLUDE_DIR}")
endfunction()

vesk_system_library(veskcore)
vesk_system_library(veskbootseq)

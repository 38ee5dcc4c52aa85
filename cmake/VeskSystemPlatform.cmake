# The platform's own libraries, for VESK_PLATFORM=system: imported targets veskcore and veskbootseq. The build uses it,
# and so does the installed CMake package.

# vesk_find_platform(VERSION MISSING [FOLDER...]): finds libNAME.so.VERSION and NAME.h of both, in the places that
# CMAKE_PREFIX_PATH adds, in the folders and where the compiler looks. MISSING becomes a sentence on the first that
# is not there, or empty; VESK_PLATFORM_INCLUDE_DIRS and VESK_PLATFORM_LIBRARY_DIRS tell where they are.
function(vesk_find_platform version missing)
    set(${missing} "" PARENT_SCOPE)
    foreach(name veskcore veskbootseq)
        find_library(${name}_LIBRARY NAMES ${name} lib${name}.so.${version} HINTS ${ARGN}
            DOC "The platform's lib${name}.so.${version}")
        find_path(${name}_INCLUDE_DIR NAMES ${name}.h HINTS ${ARGN} DOC "The folder of the platform's ${name}.h")
        if(NOT ${name}_LIBRARY OR NOT ${name}_INCLUDE_DIR)
            set(${missing} "${name}: library '${${name}_LIBRARY}' (${name}_LIBRARY), header folder \
'${${name}_INCLUDE_DIR}' (${name}_INCLUDE_DIR)." PARENT_SCOPE)
            return()
        endif()
        if(NOT TARGET ${name})
            add_library(${name} SHARED IMPORTED GLOBAL)
            set_target_properties(${name} PROPERTIES
                IMPORTED_LOCATION "${${name}_LIBRARY}"
                INTERFACE_INCLUDE_DIRECTORIES "${${name}_INCLUDE_DIR}")
        endif()
        cmake_path(GET ${name}_LIBRARY PARENT_PATH library_dir)
        list(APPEND library_dirs "${library_dir}")
        list(APPEND include_dirs "${${name}_INCLUDE_DIR}")
    endforeach()
    list(REMOVE_DUPLICATES library_dirs)
    list(REMOVE_DUPLICATES include_dirs)
    set(VESK_PLATFORM_LIBRARY_DIRS "${library_dirs}" PARENT_SCOPE)
    set(VESK_PLATFORM_INCLUDE_DIRS "${include_dirs}" PARENT_SCOPE)
endfunction()

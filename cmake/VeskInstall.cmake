# What is installed beside the platform: the library, its headers, its CMake package and its pkg-config file.
include_guard()
include(CMakePackageConfigHelpers)

set(VESK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vesksystemd)

install(FILES include/vesksystemd.h include/vesksystemd.hpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS vesksystemd EXPORT vesksystemdTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT vesksystemdTargets NAMESPACE vesksystemd:: DESTINATION ${VESK_CMAKE_DIR})

# The platform's own libraries are no part of the package, so its users are led to them.
set(VESK_PC_PLATFORM_CFLAGS "")
set(VESK_PC_PLATFORM_LIBS "")
if(VESK_PLATFORM STREQUAL "system")
    install(FILES cmake/VeskSystemPlatform.cmake DESTINATION ${VESK_CMAKE_DIR})
    foreach(folder IN LISTS VESK_PLATFORM_INCLUDE_DIRS)
        if(NOT folder IN_LIST CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES)
            string(APPEND VESK_PC_PLATFORM_CFLAGS " -I${folder}")
        endif()
    endforeach()
    foreach(folder IN LISTS VESK_PLATFORM_LIBRARY_DIRS)
        if(NOT folder IN_LIST CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES)
            string(APPEND VESK_PC_PLATFORM_LIBS " -L${folder} -Wl,-rpath-link,${folder}")
        endif()
    endforeach()
endif()

configure_package_config_file(cmake/vesksystemdConfig.cmake.in vesksystemdConfig.cmake
    INSTALL_DESTINATION ${VESK_CMAKE_DIR} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(vesksystemdConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vesksystemdConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/vesksystemdConfigVersion.cmake
    DESTINATION ${VESK_CMAKE_DIR})

# The prefix may be chosen only when installing, so the files find it from their own place; where that is the same
# under every prefix they are told it when they are installed.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(VESK_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH VESK_PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(PREPEND VESK_PC_PREFIX "\${pcfiledir}/")
endif()
foreach(name LIBDIR INCLUDEDIR)
    set(VESK_PC_${name} "\${prefix}")
    cmake_path(APPEND VESK_PC_${name} "${CMAKE_INSTALL_${name}}")
endforeach()
configure_file(cmake/vesksystemd.pc.in vesksystemd.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vesksystemd.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    install(CODE
        "set(VESK_PREFIX [==[${CMAKE_INSTALL_PREFIX}]==])\nset(VESK_LIBDIR [==[${CMAKE_INSTALL_LIBDIR}]==])")
    install(SCRIPT cmake/VeskTellPrefix.cmake)
endif()

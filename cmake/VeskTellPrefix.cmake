# Run when installing into an absolute VESK_LIBDIR: where the files in there name the prefix of the configuration,
# VESK_PREFIX, they get the one that was installed into.
foreach(file pkgconfig/vesksystemd.pc cmake/vesksystemd/vesksystemdTargets.cmake)
    set(file "$ENV{DESTDIR}${VESK_LIBDIR}/${file}")
    file(READ "${file}" text)
    string(REPLACE "prefix=${VESK_PREFIX}\n" "prefix=${CMAKE_INSTALL_PREFIX}\n" text "${text}")
    string(REPLACE "set(_IMPORT_PREFIX \"${VESK_PREFIX}\")" "set(_IMPORT_PREFIX \"${CMAKE_INSTALL_PREFIX}\")"
        text "${text}")
    file(WRITE "${file}" "${text}")
endforeach()

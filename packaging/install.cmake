# What `cmake --install` puts where: components module, development and host.
#
# The module is no library to link against but one that a host loads, so it has a folder of its own:
# LIBDIR/tamborin/. The pkg-config file and the CMake package tell where.

# On Debian libraries lie below the architecture's name, in /usr/local, too.
if(CMAKE_LIBRARY_ARCHITECTURE)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "libraries")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/tamborin)
set(PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tamborin)
# From one installed place to another, so that the whole tree may be moved.
string(REGEX REPLACE "[^/]+" ".." PREFIX_FROM_PKGCONFIG ${PKGCONFIG_DIR})
file(RELATIVE_PATH MODULE_FROM_BINDIR /${CMAKE_INSTALL_BINDIR} /${MODULE_DIR})

install(TARGETS tamborin LIBRARY DESTINATION ${MODULE_DIR} COMPONENT module)

configure_file(packaging/tamborin.pc.in tamborin.pc @ONLY)
configure_package_config_file(packaging/tamborin-config.cmake.in tamborin-config.cmake
    INSTALL_DESTINATION ${PACKAGE_DIR} PATH_VARS CMAKE_INSTALL_INCLUDEDIR MODULE_DIR
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(tamborin-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES plugin/tamborin.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/tamborin.pc DESTINATION ${PKGCONFIG_DIR} COMPONENT development)
install(FILES ${PROJECT_BINARY_DIR}/tamborin-config.cmake
    ${PROJECT_BINARY_DIR}/tamborin-config-version.cmake
    DESTINATION ${PACKAGE_DIR} COMPONENT development)

# Installs FILE compressed, as FOLDER/NAME.gz.
function(install_compressed FILE FOLDER NAME)
    set(compressed ${PROJECT_BINARY_DIR}/compressed/${FOLDER}/${NAME}.gz)
    cmake_path(GET compressed PARENT_PATH folder)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${compressed} DEPENDS ${FILE} VERBATIM
        COMMAND sh -c "gzip -9nc \"$1\" >\"$2\"" gzip ${FILE} ${compressed})
    string(MAKE_C_IDENTIFIER compress_${FOLDER}_${NAME} target)
    add_custom_target(${target} ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${FOLDER} ${ARGN})
endfunction()

if(TAMBORIN_HOST)
    target_compile_definitions(tamborin-host PRIVATE MODULE_FROM_BINDIR="${MODULE_FROM_BINDIR}")
    install(TARGETS tamborin-host RUNTIME COMPONENT host)
    if(EXISTS ${PROJECT_SOURCE_DIR}/host/tamborin-host.1)
        install_compressed(${PROJECT_SOURCE_DIR}/host/tamborin-host.1
            ${CMAKE_INSTALL_MANDIR}/man1 tamborin-host.1 COMPONENT host)
    endif()
    install(FILES host/tamborin-host.bash-completion RENAME tamborin-host
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT host OPTIONAL)
endif()

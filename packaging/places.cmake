# Where an installed tree has its parts.

# On Debian libraries lie below the architecture's name, in /usr/local, too.
if(CMAKE_LIBRARY_ARCHITECTURE)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "libraries")
endif()
include(GNUInstallDirs)

set(MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/tamborin)
set(PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tamborin)
# From one installed place to another, so that the whole tree may be moved.
string(REGEX REPLACE "[^/]+" ".." PREFIX_FROM_PKGCONFIG ${PKGCONFIG_DIR})
file(RELATIVE_PATH LIBEXEC_FROM_BINDIR /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBEXECDIR})
file(RELATIVE_PATH MODULE_FROM_LIBEXECDIR /${CMAKE_INSTALL_LIBEXECDIR} /${MODULE_DIR})
file(RELATIVE_PATH MODULE_FROM_BINDIR /${CMAKE_INSTALL_BINDIR} /${MODULE_DIR})

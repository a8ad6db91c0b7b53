# The folders of an installed tree.

# Debian has libraries in a folder named by the architecture. This also holds for /usr/local.
if(CMAKE_LIBRARY_ARCHITECTURE)
    set(CMAKE_INSTALL_LIBDIR lib/${CMAKE_LIBRARY_ARCHITECTURE} CACHE PATH "libraries")
endif()
include(GNUInstallDirs)

set(MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/tamborin)
set(PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tamborin)
# Relative paths between installed folders, so that the whole tree can be moved.
string(REGEX REPLACE "[^/]+" ".." PREFIX_FROM_PKGCONFIG ${PKGCONFIG_DIR})
file(RELATIVE_PATH LIBEXEC_FROM_BINDIR /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBEXECDIR})
file(RELATIVE_PATH MODULE_FROM_LIBEXECDIR /${CMAKE_INSTALL_LIBEXECDIR} /${MODULE_DIR})
file(RELATIVE_PATH MODULE_FROM_BINDIR /${CMAKE_INSTALL_BINDIR} /${MODULE_DIR})

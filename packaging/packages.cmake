# The Debian packages that `cpack` builds: tamborin (module and development), tamborin-host, and
# tamborin-serve. The last is a package of its own because it needs GStreamer.

# Files that only Debian packages have. `cmake --install` leaves their components out.
set(DEBIAN_RELEASE 1)
configure_file(packaging/changelog.Debian.in changelog.Debian @ONLY)
function(install_debian_files PACKAGE COMPONENT)
    set(into COMPONENT ${COMPONENT} EXCLUDE_FROM_ALL)
    set(doc ${CMAKE_INSTALL_DATADIR}/doc/${PACKAGE})
    install(FILES packaging/copyright DESTINATION ${doc} ${into})
    install_compressed(${PROJECT_SOURCE_DIR}/CHANGELOG.md ${doc} changelog ${into})
    install_compressed(${PROJECT_BINARY_DIR}/changelog.Debian ${doc} changelog.Debian ${into})
    install(FILES packaging/lintian-overrides RENAME ${PACKAGE}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides ${into})
endfunction()
install_debian_files(tamborin module_debian)
install_debian_files(tamborin-host host_debian)
if(TAMBORIN_SERVE)
    install_debian_files(tamborin-serve serve_debian)
    install(FILES packaging/tamborin-serve.service DESTINATION lib/systemd/system
        COMPONENT serve_debian EXCLUDE_FROM_ALL)
    set(serve_components serve serve_debian)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Tamborin developers <maintainers@tamborin.example>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL module development module_debian host host_debian
    ${serve_components})
foreach(component module development module_debian)
    string(TOUPPER ${component} name)
    set(CPACK_COMPONENT_${name}_GROUP module_package)
endforeach()
foreach(component host host_debian)
    string(TOUPPER ${component} name)
    set(CPACK_COMPONENT_${name}_GROUP host_package)
endforeach()
foreach(component ${serve_components})
    string(TOUPPER ${component} name)
    set(CPACK_COMPONENT_${name}_GROUP serve_package)
endforeach()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${DEBIAN_RELEASE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_MODULE_PACKAGE_PACKAGE_NAME tamborin)
set(CPACK_DEBIAN_MODULE_PACKAGE_PACKAGE_SUGGESTS "libasound2-plugins, tamborin-host")
set(CPACK_DEBIAN_MODULE_PACKAGE_DESCRIPTION
    "audio module for hosts of IP cameras
A shared library that a host program loads. It captures the machine's sound
cards and hands the host time-stamped G.711 mu-law frames, plays what the host
writes, and is configured with XML documents.
.
The package has the module, the header of its contract with the host, and the
files by which pkg-config and CMake find both.")
set(CPACK_DEBIAN_HOST_PACKAGE_PACKAGE_NAME tamborin-host)
set(CPACK_DEBIAN_HOST_PACKAGE_PACKAGE_DEPENDS
    "tamborin (= ${PROJECT_VERSION}-${DEBIAN_RELEASE})")
set(CPACK_DEBIAN_HOST_PACKAGE_PACKAGE_RECOMMENDS libasound2-plugins)
set(CPACK_DEBIAN_HOST_PACKAGE_PACKAGE_SUGGESTS tamborin-serve)
set(CPACK_DEBIAN_HOST_PACKAGE_DESCRIPTION
    "records and plays through the Tamborin audio module
A command-line host of the module: it lists the module's channels, records
inputs, plays sound files, and does both at once. It tells whether the module
works on a new machine, and shows authors of hosts how the contract is used.")
set(CPACK_DEBIAN_SERVE_PACKAGE_PACKAGE_NAME tamborin-serve)
set(CPACK_DEBIAN_SERVE_PACKAGE_PACKAGE_DEPENDS
    "tamborin-host (= ${PROJECT_VERSION}-${DEBIAN_RELEASE}), gstreamer1.0-plugins-base, gstreamer1.0-plugins-good, glib-networking")
set(CPACK_DEBIAN_SERVE_PACKAGE_DESCRIPTION
    "serves the Tamborin audio module's inputs and outputs on the network
The command 'tamborin-host serve': the machine's inputs become RTSP sources in
G.711 mu-law, which recorders of IP cameras understand, with an ONVIF
backchannel to talk on an output. It comes with a hardened systemd unit that
serves this machine only until passwords are set.")
include(CPack)

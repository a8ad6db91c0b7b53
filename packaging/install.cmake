# The files that `cmake --install` installs, in the components module, development, host and serve.
#
# Hosts load the module instead of linking to it, so it has a folder of its own, LIBDIR/tamborin/.
# Hosts find the folder by the pkg-config file or the CMake package.

include(CMakePackageConfigHelpers)

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
    install(TARGETS tamborin-host RUNTIME COMPONENT host)
    install_compressed(${PROJECT_SOURCE_DIR}/host/share/tamborin-host.1
        ${CMAKE_INSTALL_MANDIR}/man1 tamborin-host.1 COMPONENT host)
    install(FILES host/share/tamborin-host.bash-completion RENAME tamborin-host
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT host)
endif()
if(TAMBORIN_SERVE)
    install(TARGETS tamborin-host-serve
        RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR} COMPONENT serve)
endif()

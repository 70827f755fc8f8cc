# Install rules and the Debian packages (`make package`, CPack).
#
#   flukokzad_<version>_<arch>.deb   (amd64 from build/native, armhf from build/armhf)
#     /usr/lib/flukokzad/                  the plug-in folder a host runs in
#     /usr/lib/flukokzad/_binlinux/        Flukokzad.so and CollectionsEx.so
#     /usr/lib/flukokzad/stephost          the reference host, and /usr/bin/stephost linking to it
#     /usr/share/flukokzad/examples/       the example program files
#     /usr/share/doc/flukokzad/            README.md, copyright, changelog
#     /usr/share/man/man1/stephost.1.gz
#   flukokzad-dev_<version>_all.deb  (from build/native only: it holds no code)
#     /usr/include/flukokzad/              the interface declarations
#     /usr/share/cmake/Flukokzad/          find_package(Flukokzad CONFIG): Flukokzad::interfaces
#
# The sanitizer presets build no packages: their binaries are not for shipping.
if(FLUKO_SANITIZE)
    return()
endif()
set(FLUKO_PACKAGING ON)

include(CMakePackageConfigHelpers)

set(FLUKO_PACKAGE_MAINTAINER "Flukokzad developers <flukokzad@example.org>"
    CACHE STRING "The Maintainer field of the Debian packages")

# Relative to the prefix (/usr in the packages).
set(FLUKO_INSTALL_PLUGINDIR lib/flukokzad)
set(FLUKO_INSTALL_INCLUDEDIR include/flukokzad)
set(FLUKO_INSTALL_CMAKEDIR share/cmake/Flukokzad)
set(FLUKO_INSTALL_EXAMPLEDIR share/flukokzad/examples)
set(FLUKO_INSTALL_DOCDIR share/doc/flukokzad)

set(FLUKO_PACKAGING_DIR ${CMAKE_BINARY_DIR}/packaging)
set(FLUKO_PACKAGING_SOURCES ${PROJECT_SOURCE_DIR}/cmake/packaging)

# --- flukokzad: the module, the host module, stephost, examples, README -------
# The shared objects are plug-ins, loaded with dlopen, never run: 0644.
install(TARGETS Flukokzad CollectionsEx
    LIBRARY DESTINATION ${FLUKO_INSTALL_PLUGINDIR}/_binlinux
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
        COMPONENT runtime)
install(TARGETS stephost RUNTIME DESTINATION ${FLUKO_INSTALL_PLUGINDIR} COMPONENT runtime)

# /usr/bin/stephost: a relative link, as both ends are under /usr.
file(MAKE_DIRECTORY ${FLUKO_PACKAGING_DIR}/bin)
file(CREATE_LINK ../${FLUKO_INSTALL_PLUGINDIR}/stephost ${FLUKO_PACKAGING_DIR}/bin/stephost SYMBOLIC)
install(FILES ${FLUKO_PACKAGING_DIR}/bin/stephost DESTINATION bin COMPONENT runtime)

file(GLOB FLUKO_EXAMPLES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/examples/*.xml)
install(FILES ${FLUKO_EXAMPLES} DESTINATION ${FLUKO_INSTALL_EXAMPLEDIR} COMPONENT runtime)
# The README as installed names installed paths: stephost on the path, the
# examples under /usr/share, the step reference and the report's picture beside it.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/README.md)
file(READ ${PROJECT_SOURCE_DIR}/README.md FLUKO_README)
set(FLUKO_INSTALLED_EXAMPLES /usr/share/flukokzad/examples/)
string(REPLACE "${FLUKO_INSTALLED_EXAMPLES}" "@INSTALLED_EXAMPLES@" FLUKO_README "${FLUKO_README}")
string(REPLACE "build/native/stephost" "stephost" FLUKO_README "${FLUKO_README}")
string(REPLACE "examples/" "${FLUKO_INSTALLED_EXAMPLES}" FLUKO_README "${FLUKO_README}")
string(REPLACE "@INSTALLED_EXAMPLES@" "${FLUKO_INSTALLED_EXAMPLES}" FLUKO_README "${FLUKO_README}")
string(REPLACE "docs/steps.md" "steps.md" FLUKO_README "${FLUKO_README}")
string(REPLACE "docs/report.png" "report.png" FLUKO_README "${FLUKO_README}")
file(WRITE ${FLUKO_PACKAGING_DIR}/README.md
    "Installed: stephost is /usr/bin/stephost, the examples are in ${FLUKO_INSTALLED_EXAMPLES}, the step\n"
    "reference is steps.md beside this file, and `man stephost` tells the command line.\n\n${FLUKO_README}")
install(FILES ${FLUKO_PACKAGING_DIR}/README.md ${PROJECT_SOURCE_DIR}/docs/steps.md ${PROJECT_SOURCE_DIR}/docs/report.png
    DESTINATION ${FLUKO_INSTALL_DOCDIR} COMPONENT runtime)

# Debian's documentation files: the copyright, a changelog and the manual page,
# compressed as dpkg expects (gzip -9n: the best compression, no time stamp).
function(fluko_package_text source name)
    configure_file(${FLUKO_PACKAGING_SOURCES}/${source} ${FLUKO_PACKAGING_DIR}/${name} @ONLY)
endfunction()
function(fluko_package_gzip name)
    execute_process(COMMAND gzip -9nc ${FLUKO_PACKAGING_DIR}/${name}
        OUTPUT_FILE ${FLUKO_PACKAGING_DIR}/${name}.gz RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "cannot compress ${FLUKO_PACKAGING_DIR}/${name}")
    endif()
endfunction()
fluko_package_text(copyright copyright)
fluko_package_text(changelog.in changelog)
fluko_package_text(stephost.1 stephost.1)
fluko_package_gzip(changelog)
fluko_package_gzip(stephost.1)
install(FILES ${FLUKO_PACKAGING_DIR}/copyright ${FLUKO_PACKAGING_DIR}/changelog.gz
    DESTINATION ${FLUKO_INSTALL_DOCDIR} COMPONENT runtime)
install(FILES ${FLUKO_PACKAGING_DIR}/stephost.1.gz DESTINATION share/man/man1 COMPONENT runtime)

# --- flukokzad-dev: the interface declarations --------------------------------
# Everything a host or a harness needs to call the module through its two
# entry points and its interfaces, and nothing of the module's own code: each
# header compiles on its own (the package test checks that).
add_library(flukokzad_interfaces INTERFACE)
target_sources(flukokzad_interfaces INTERFACE FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES
    ${PROJECT_SOURCE_DIR}/runtime/Types.h          # result codes, counted texts
    ${PROJECT_SOURCE_DIR}/runtime/Iid.h            # interface identifiers from names
    ${PROJECT_SOURCE_DIR}/runtime/Interfaces.h     # every interface, its identifier, the entry point types
    ${PROJECT_SOURCE_DIR}/runtime/SmartPtr.h       # a reference-owning pointer
    ${PROJECT_SOURCE_DIR}/module/Flukokzad.h       # InitializeModule and CreateFunction
    ${PROJECT_SOURCE_DIR}/parameters/ParameterRecord.h)  # the parameter record, flag and mode bits
target_compile_features(flukokzad_interfaces INTERFACE cxx_std_17)
set_target_properties(flukokzad_interfaces PROPERTIES EXPORT_NAME interfaces)
add_library(Flukokzad::interfaces ALIAS flukokzad_interfaces)

install(TARGETS flukokzad_interfaces EXPORT FlukokzadTargets
    FILE_SET HEADERS DESTINATION ${FLUKO_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT FlukokzadTargets NAMESPACE Flukokzad:: DESTINATION ${FLUKO_INSTALL_CMAKEDIR} COMPONENT dev)
configure_package_config_file(${FLUKO_PACKAGING_SOURCES}/FlukokzadConfig.cmake.in
    ${FLUKO_PACKAGING_DIR}/FlukokzadConfig.cmake
    INSTALL_DESTINATION ${FLUKO_INSTALL_CMAKEDIR}
    PATH_VARS FLUKO_INSTALL_INCLUDEDIR FLUKO_INSTALL_PLUGINDIR)
write_basic_package_version_file(${FLUKO_PACKAGING_DIR}/FlukokzadConfigVersion.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion ARCH_INDEPENDENT)
install(FILES ${FLUKO_PACKAGING_DIR}/FlukokzadConfig.cmake ${FLUKO_PACKAGING_DIR}/FlukokzadConfigVersion.cmake
    DESTINATION ${FLUKO_INSTALL_CMAKEDIR} COMPONENT dev)
install(FILES ${FLUKO_PACKAGING_DIR}/copyright ${FLUKO_PACKAGING_DIR}/changelog.gz
    DESTINATION share/doc/flukokzad-dev COMPONENT dev)

# --- CPack ------------------------------------------------------------------------
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME flukokzad)
set(CPACK_PACKAGE_VENDOR "The Flukokzad developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${FLUKO_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME flukokzad)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "program steps module for a host of step programs, with a reference host
Flukokzad is a plug-in module of fourteen program steps (activating,
editing, asking the operator, reading and writing properties, refreshing,
scrolling, selecting tabs, running verbs and more) for a host application
that builds and runs programs as sequences of steps. A host loads
/usr/lib/flukokzad/_binlinux/Flukokzad.so and drives the steps through
reference-counted interfaces.

This package holds the module, the stand-in host's component module
CollectionsEx.so beside it, the reference host program stephost that runs
program files of steps with a trace, and example program files.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS flukokzad-dev)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME flukokzad-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DEV_DESCRIPTION "interface declarations of the Flukokzad program steps module
The C++17 headers a host or a test harness of the Flukokzad module is written
against: the interfaces and their identifiers, result codes, the parameter
record with its flag and mode bits, and the module's two entry points,
InitializeModule and CreateFunction. find_package(Flukokzad CONFIG) gives
them as the target Flukokzad::interfaces.")

# The packages' dependencies come from the binaries (dpkg-shlibdeps). For the
# armhf binaries it reads the ELF class and looks at Debian's armhf multiarch
# packages (libc6:armhf, libtinyxml2-9:armhf, ...), which make deps installs,
# not at the cross compiler's C library, which belongs to no armhf package.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
        set(FLUKO_DEB_ARCH armhf)
    else()
        message(FATAL_ERROR "no Debian architecture known for ${CMAKE_SYSTEM_PROCESSOR}")
    endif()
else()
    execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE FLUKO_DEB_ARCH
        OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
endif()
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${FLUKO_DEB_ARCH})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_ARCHITECTURE ${FLUKO_DEB_ARCH})
if(CMAKE_CROSSCOMPILING)
    # The headers package holds no code: the native build makes it.
    set(CPACK_COMPONENTS_ALL runtime)
else()
    set(CPACK_COMPONENTS_ALL runtime dev)
endif()

include(CPack)

# What cpack makes: postdock and libmorvex-dev, as Debian packages. scripts/package is the way to
# call it, since the packages want the prefix /usr from the start.

# ICU is opened by its versioned name when a message first needs a converter, so no dependency of
# the binary tells about it. The version is that of the headers, as for the name itself.
file(STRINGS ${MORVEX_ICU_INCLUDE_DIR}/unicode/uvernum.h icu_major
    REGEX "^#define U_ICU_VERSION_MAJOR_NUM [0-9]+")
string(REGEX MATCH "[0-9]+$" icu_major "${icu_major}")

set(MORVEX_PACKAGE_MAINTAINER "Morvex Maintainers <maintainers@morvex.example>" CACHE STRING
    "Who answers for the packages: name and mail address")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME postdock)
set(CPACK_PACKAGE_CONTACT "${MORVEX_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/stage.cmake)

set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL command development)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME postdock)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SHLIBDEPS ON)
if(MORVEX_PACKED_RELOCATIONS)
    # The loader's part in it is no symbol of a library, which is all that shlibdeps looks at.
    set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "libc6 (>= 2.36)")
endif()
set(CPACK_DEBIAN_COMMAND_PACKAGE_RECOMMENDS "libicu${icu_major}")
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "local mail submission command of the Morvex mail server
postdock takes one message on its standard input and leaves it in the on-disk
queue of the Morvex mail server: whole, at once and byte for byte, or not at
all and with a plain reason and exit code.

It takes the command lines that scripts have always used for submitting mail,
and talks to no daemon and no network.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmorvex-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libc6-dev, libicu-dev")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "g++, cmake | pkgconf, postdock")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "common libraries of the Morvex mail server (development files)
Static libraries and headers of the code that the Morvex mail server and its
submission command share: the mail queue on the disk, the configuration, mail
addresses, the message model and the runtime below them.

A CMake package, pkg-config files and an example that lists a queue are
included.")

include(CPack)

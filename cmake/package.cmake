# Packages: the router's files from a cross build, the workstation's from a native one. Each as a Debian package and as a
# plain archive: cpack --config build/mipsel/CPackConfig.cmake -B packages
# The folders' modes depend on the umask, which should be 022.

set(RC_PACKAGE_DEPENDS "libc6 (>= 2.34)" CACHE STRING "What the router's Debian package depends on: its C library")

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME rc)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The developers of rc <rc@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# An archive's files belong to root, regardless of the user who makes it.
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/package_owner.cmake)

set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_ROUTER_PACKAGE_NAME rc-router)
set(CPACK_DEBIAN_ROUTER_DESCRIPTION "run-control of a small wireless router
The command rc, which turns settings into the configuration of the router's
daemons and starts and stops them; the settings store libnvram.so and its
command nvram.")
set(CPACK_DEBIAN_ROUTER_PACKAGE_DEPENDS ${RC_PACKAGE_DEPENDS})

set(CPACK_DEBIAN_WORKSTATION_PACKAGE_NAME rc-workstation)
set(CPACK_DEBIAN_WORKSTATION_DESCRIPTION "planner of a small wireless router's run-control
The command rcplan, which shows every command, file and setting that an action
of rc would produce; the manual pages and completions of rc, nvram and rcplan.")
set(CPACK_DEBIAN_WORKSTATION_PACKAGE_SHLIBDEPS ON)

if(CMAKE_CROSSCOMPILING)
    set(CPACK_COMPONENTS_ALL router)
    set(package_architecture ${CMAKE_SYSTEM_PROCESSOR})
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${package_architecture})
else()
    set(CPACK_COMPONENTS_ALL workstation)
    set(package_architecture ${CMAKE_SYSTEM_PROCESSOR})
endif()
foreach(component router workstation)
    string(TOUPPER ${component} upper)
    set(CPACK_ARCHIVE_${upper}_FILE_NAME rc-${component}-${PROJECT_VERSION}-${package_architecture})
endforeach()
include(CPack)

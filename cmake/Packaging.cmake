# Debian packages (cpack -G DEB, or ./run.sh package): the runtime libraries,
# the development files and the daemon with the tools. They install under
# /usr; the libraries find each other and Debian's Android libraries through
# their rpaths.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zuv-fingerprint)
set(CPACK_PACKAGE_VENDOR "zuv")
set(CPACK_PACKAGE_CONTACT "zuv fingerprint maintainers <maintainers@zuv.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "vendor.zuv.hardware.fingerprint@1.0 and a host hardware-binder runtime")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
# libc and libstdc++ as the build machine has them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
find_program(ZUV_DPKG_QUERY dpkg-query)

# The installed version of a Debian package, as a ">= version" constraint;
# nothing when dpkg does not know it.
function(zuv_deb_version_of pkg out)
  set(_v "")
  if(ZUV_DPKG_QUERY)
    execute_process(COMMAND ${ZUV_DPKG_QUERY} -W -f=\${Version} ${pkg}
      OUTPUT_VARIABLE _ver ERROR_QUIET RESULT_VARIABLE _rc)
    if(_rc EQUAL 0 AND _ver)
      # The upstream part: a rebuilt Debian revision is as good.
      string(REGEX REPLACE "-[^-]*$" "" _ver "${_ver}")
      set(_v " (>= ${_ver})")
    endif()
  endif()
  set(${out} "${pkg}${_v}" PARENT_SCOPE)
endfunction()

set(_deps)
foreach(_p android-libutils android-libcutils android-liblog)
  zuv_deb_version_of(${_p} _d)
  list(APPEND _deps "${_d}")
endforeach()
list(JOIN _deps ", " _android_runtime)
set(_self "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzuv-fingerprint1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "${_android_runtime}, libc6, libstdc++6")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "vendor.zuv.hardware.fingerprint@1.0 runtime libraries\n The package library and the host hardware-binder runtime (libhidlbase).")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libzuv-fingerprint-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "libzuv-fingerprint1 ${_self}, android-libutils-dev, android-libcutils-dev, android-liblog-dev, nlohmann-json3-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS "libgmock-dev, pkg-config")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "vendor.zuv.hardware.fingerprint@1.0 development files\n Headers, CMake and pkg-config files, and GoogleMock classes of the interfaces.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zuv-hwservicemanager)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libzuv-fingerprint1 ${_self}, libsystemd0")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "Service manager of the zuv hardware-binder runtime\n zuv_hwservicemanager, zuv_lshal, zuv_hidl and systemd user units starting the daemon on its socket.")

include(CPack)

# Finds Debian's packaging of the Android platform libraries (libutils,
# libcutils, liblog) and exposes them as imported targets:
#   Android::utils  Android::cutils  Android::log
# The libraries live in a private multiarch directory, so each target carries
# its include directory, its library and an rpath to that directory; consumers
# need nothing else.
include(FindPackageHandleStandardArgs)

find_path(AndroidPlatform_INCLUDE_DIR
  NAMES utils/RefBase.h
  PATHS /usr/include/android
  NO_DEFAULT_PATH)

set(_android_hints)
if(CMAKE_LIBRARY_ARCHITECTURE)
  list(APPEND _android_hints /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android)
endif()
list(APPEND _android_hints /usr/lib/android /usr/lib64/android)

foreach(_lib utils cutils log)
  find_library(AndroidPlatform_${_lib}_LIBRARY
    NAMES ${_lib}
    PATHS ${_android_hints}
    NO_DEFAULT_PATH)
endforeach()

find_package_handle_standard_args(AndroidPlatform
  REQUIRED_VARS AndroidPlatform_INCLUDE_DIR
                AndroidPlatform_utils_LIBRARY
                AndroidPlatform_cutils_LIBRARY
                AndroidPlatform_log_LIBRARY)

if(AndroidPlatform_FOUND)
  foreach(_lib log cutils utils)
    if(NOT TARGET Android::${_lib})
      get_filename_component(_dir "${AndroidPlatform_${_lib}_LIBRARY}" DIRECTORY)
      add_library(Android::${_lib} SHARED IMPORTED)
      set_target_properties(Android::${_lib} PROPERTIES
        IMPORTED_LOCATION "${AndroidPlatform_${_lib}_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${AndroidPlatform_INCLUDE_DIR}"
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${AndroidPlatform_INCLUDE_DIR}"
        INTERFACE_LINK_OPTIONS "LINKER:-rpath,${_dir}")
    endif()
  endforeach()
  set_property(TARGET Android::cutils APPEND PROPERTY INTERFACE_LINK_LIBRARIES Android::log)
  set_property(TARGET Android::utils APPEND PROPERTY INTERFACE_LINK_LIBRARIES Android::cutils Android::log)
endif()

mark_as_advanced(AndroidPlatform_INCLUDE_DIR AndroidPlatform_utils_LIBRARY
                 AndroidPlatform_cutils_LIBRARY AndroidPlatform_log_LIBRARY)

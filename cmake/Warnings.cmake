# Project-wide warning set; ZUV_WERROR turns warnings into errors (on in CI).
function(zuv_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
    -Wnon-virtual-dtor -Wcast-align -Woverloaded-virtual -Wno-unused-parameter)
  if(ZUV_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

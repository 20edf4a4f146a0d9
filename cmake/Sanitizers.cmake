# Sanitizer and fuzzer instrumentation for the whole build.
#   ZUV_SANITIZE       comma-separated -fsanitize= list, e.g. "address,undefined" or "thread"
#   ZUV_BUILD_FUZZERS  build fuzz/ (clang only); every target also gets coverage
#                      instrumentation so the fuzzers see into the libraries
# Applied globally so the libraries, tests, tools and test peers agree: a
# sanitized shared library cannot be loaded by an unsanitized executable.
set(ZUV_SANITIZE "" CACHE STRING "Sanitizers to build with (address,undefined | thread)")
option(ZUV_BUILD_FUZZERS "Build the libFuzzer targets (clang only)" OFF)

if(ZUV_SANITIZE)
  if("${ZUV_SANITIZE}" MATCHES "thread" AND "${ZUV_SANITIZE}" MATCHES "address")
    message(FATAL_ERROR "ZUV_SANITIZE: thread cannot be combined with address")
  endif()
  set(ZUV_SANITIZE_FLAGS -fsanitize=${ZUV_SANITIZE} -fno-omit-frame-pointer)
  if("${ZUV_SANITIZE}" MATCHES "undefined")
    # A report must fail the test that caused it, not scroll past.
    list(APPEND ZUV_SANITIZE_FLAGS -fno-sanitize-recover=undefined)
  endif()
  add_compile_options(${ZUV_SANITIZE_FLAGS})
  add_link_options(-fsanitize=${ZUV_SANITIZE})
endif()

if(ZUV_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "ZUV_BUILD_FUZZERS needs clang (libFuzzer)")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# Leaves a target's own code out of the fuzzers' coverage feedback.
function(zuv_no_fuzz_coverage target)
  if(ZUV_BUILD_FUZZERS)
    target_compile_options(${target} PRIVATE
      -fsanitize-coverage-ignorelist=${PROJECT_SOURCE_DIR}/cmake/FuzzCoverageIgnore.txt)
  endif()
endfunction()

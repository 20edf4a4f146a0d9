# Builds the timeline page from page.html and page.js as a C++ source:
#   cmake -DHTML=page.html -DSCRIPT=page.js -DOUT=TimelinePage.cpp -P embed.cmake
# Bytes, not a string literal: a literal that long is beyond what ISO C++
# promises (and -Wpedantic says so).
cmake_minimum_required(VERSION 3.22)
file(READ "${SCRIPT}" script)
if(script MATCHES "</script")
  message(FATAL_ERROR "${SCRIPT} contains </script, which would end the page's script early; write <\\/script")
endif()
file(READ "${HTML}" page)
string(FIND "${page}" "/*@SCRIPT@*/" at)
if(at EQUAL -1)
  message(FATAL_ERROR "${HTML} lacks the /*@SCRIPT@*/ marker where the script goes")
endif()
string(REPLACE "/*@SCRIPT@*/" "${script}" page "${page}")
file(WRITE "${OUT}.page" "${page}")
file(READ "${OUT}.page" hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "((0x..,){24})" "\\1\n" bytes "${bytes}")
file(WRITE "${OUT}.tmp" "// Generated from page.html and page.js by embed.cmake; edit those.
#include \"TimelinePage.h\"

namespace zuv_hidl {
namespace {
const char kPage[] = {
${bytes}};
}  // namespace

std::string_view timelinePage() {
    return {kPage, sizeof(kPage)};
}

}  // namespace zuv_hidl
")
file(REMOVE "${OUT}.page")
file(RENAME "${OUT}.tmp" "${OUT}")

# usage: cmake -D SOURCE=<src> -D OUTPUT=<header> -D SALT=<text> -P BuildId.cmake
# Writes a header with an id of all that two halves of the program must agree on: the shapes of what one hands to the other.
cmake_minimum_required(VERSION 3.25)

file(GLOB_RECURSE headers ${SOURCE}/model/*.h ${SOURCE}/platform/*.h ${SOURCE}/support/*.h ${SOURCE}/app/*.h)
set(text ${SALT})
foreach(header IN LISTS headers)
  file(SHA256 ${header} hash)
  string(APPEND text ${hash})
endforeach()
string(SHA256 id "${text}")
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "#pragma once\n\ninline constexpr const char* buildId = \"@id@\";\n" @ONLY)

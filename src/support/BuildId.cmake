# usage: cmake -D SOURCE=<src> -D OUTPUT=<header> -D SALT=<text> -P BuildId.cmake
# Writes a header with an id of all that the program and its modules must agree on: the shapes of what one hands to the
# other. What it is made of stands in <header>.d.
cmake_minimum_required(VERSION 3.25)

file(GLOB_RECURSE headers ${SOURCE}/model/*.h ${SOURCE}/platform/*.h ${SOURCE}/support/*.h ${SOURCE}/app/*.h)
set(text ${SALT})
set(dependencies "${OUTPUT}:")
foreach(header IN LISTS headers)
  file(SHA256 ${header} hash)
  string(APPEND text ${hash})
  string(REPLACE " " "\\ " escaped ${header})
  string(APPEND dependencies " ${escaped}")
endforeach()
file(WRITE ${OUTPUT}.d "${dependencies}\n")
string(SHA256 id "${text}")
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT "#pragma once\n\ninline constexpr const char* buildId = \"@id@\";\n" @ONLY)

# Compares the template for translators with what the sources mark, whichever target they belong to: a text that is
# missing there never reaches a translator.
# usage: cmake -D LUPDATE=... -D SOURCE=... -D TEMPLATE=... -D SCRATCH=... -P TranslationsTest.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE ${SCRATCH})
execute_process(
  COMMAND ${LUPDATE} -silent -locations none -source-language en -recursive ${SOURCE} -ts ${SCRATCH}
  COMMAND_ERROR_IS_FATAL ANY)
foreach(kind marked extracted)
  if(kind STREQUAL marked)
    set(file ${SCRATCH})
  else()
    set(file ${TEMPLATE})
  endif()
  file(STRINGS ${file} ${kind} REGEX "<(name|source)>" ENCODING UTF-8)
  list(SORT ${kind})
endforeach()

list(LENGTH marked count)
if(count LESS 50)
  message(FATAL_ERROR "only ${count} texts and contexts were found in ${SOURCE}")
endif()
foreach(text IN LISTS marked)
  if(NOT text IN_LIST extracted)
    message(SEND_ERROR "marked and not in the template: ${text}")
  endif()
endforeach()
foreach(text IN LISTS extracted)
  if(NOT text IN_LIST marked)
    message(SEND_ERROR "in the template and not marked: ${text}")
  endif()
endforeach()
# Some texts are marked in several places.
if(NOT marked STREQUAL extracted)
  message(SEND_ERROR "the template has not as many texts as are marked")
endif()

# usage: cmake -D SOURCE=<src> -P LayersTest.cmake
# Fails when a file includes what its folder may not.

cmake_minimum_required(VERSION 3.25)

# layer(<folder> <pattern>...): what the files in a folder may include of the program's own and of its libraries.
function(layer folder)
  file(GLOB files RELATIVE ${SOURCE} ${SOURCE}/${folder}/*.h ${SOURCE}/${folder}/*.cpp)
  foreach(file IN LISTS files)
    file(STRINGS ${SOURCE}/${file} lines REGEX "^#include [<\"]([a-zA-Z/.-]+/|Q|unicode/|xcb/|nlohmann/|systemd/)")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^#include [<\"]([^>\"]+)[>\"].*" "\\1" included ${line})
      set(may FALSE)
      foreach(pattern IN LISTS ARGN)
        if(included MATCHES "^(${pattern})")
          set(may TRUE)
        endif()
      endforeach()
      # The headers of the C library have folders as well.
      if(NOT may AND NOT included MATCHES "^(sys|linux|netinet|arpa)/")
        message(SEND_ERROR "${file} includes ${included}")
      endif()
    endforeach()
  endforeach()
endfunction()

set(seam "platform/[A-Za-z]+\\.h")
set(linux "platform/linux/(bar|bus|input|process)/|platform/linux/(Xcb|ResidentPlatform)\\.h|tap/TapProtocol\\.h|tap/CountableKeys\\.h")

layer(support "support/")
layer(model "support/|model/|nlohmann/|${seam}")
layer(model/calendar "model/|unicode/")
layer(app "support/|model/|app/|windows/ProgramWindows\\.h|${seam}")
layer(windows/ui "support/|windows/ui/|Q|windows/Theme\\.h|${seam}")
layer(windows "support/|model/|windows/|Q|unicode/|${seam}")
layer(platform/fake "support/|model/|platform/fake/|${seam}")
layer(platform/linux/process "support/|platform/linux/process/|platform/linux/bus/|systemd/|${seam}")
layer(platform/linux/bus "support/|platform/linux/(bus|process)/|systemd/|elogind/|basu/")
layer(platform/linux/bar "support/|${linux}|xcb/|${seam}")
layer(platform/linux/input "support/|${linux}|xcb/|${seam}")
layer(platform/linux/portal "support/|${linux}|platform/linux/(portal|windows)/|Q|${seam}")
layer(platform/linux/windows "support/|${linux}|platform/linux/(portal|windows)/|Q|xcb/|${seam}")
layer(tap "tap/")

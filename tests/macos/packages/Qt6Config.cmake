# Stands in for a toolkit that is made for a Mac: only what the program's CMake asks for, so that its bundle can be configured
# on Linux.
foreach(component Core Gui Widgets Svg)
  add_library(Qt6::${component} INTERFACE IMPORTED)
endforeach()
foreach(tool moc rcc qmake)
  add_executable(Qt6::${tool} IMPORTED)
  set_target_properties(Qt6::${tool} PROPERTIES IMPORTED_LOCATION /bin/true)
endforeach()
set(Qt6_VERSION_MAJOR 6)
set(Qt6Core_VERSION_MAJOR 6)
set(Qt6Core_VERSION_MINOR 4)
function(qt_add_resources)
endfunction()

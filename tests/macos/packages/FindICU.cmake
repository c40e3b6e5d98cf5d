# As Qt6Config.cmake.
foreach(component uc i18n)
  add_library(ICU::${component} INTERFACE IMPORTED)
endforeach()
set(ICU_FOUND TRUE)

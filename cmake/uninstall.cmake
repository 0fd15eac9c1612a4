# Removes the files that cmake --install has listed in the build folder.
if(NOT EXISTS install_manifest.txt)
  message(FATAL_ERROR "nothing was installed from this folder: it has no install_manifest.txt")
endif()
file(STRINGS install_manifest.txt files)
foreach(file IN LISTS files)
  message(STATUS "Removing: $ENV{DESTDIR}${file}")
  file(REMOVE "$ENV{DESTDIR}${file}")
endforeach()

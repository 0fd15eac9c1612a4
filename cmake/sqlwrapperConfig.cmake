# find_package(sqlwrapper [COMPONENTS [shared | static] [standalone]])
#
# Gives sqlwrapper::sqlwrapper and, where it is installed, sqlwrapper::standalone, which takes the
# platform's part in programs that run without one. Of a shared and a static library side by side
# the shared one is taken, unless the component `static` asks for the other.

set(sqlwrapper_shared_FOUND FALSE)
set(sqlwrapper_static_FOUND FALSE)
set(sqlwrapper_standalone_FOUND FALSE)

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/sqlwrapperSharedTargets.cmake AND
   NOT "static" IN_LIST sqlwrapper_FIND_COMPONENTS)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperSharedTargets.cmake)
  set(sqlwrapper_shared_FOUND TRUE)
elseif(EXISTS ${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStaticTargets.cmake)
  include(CMakeFindDependencyMacro)
  find_dependency(SQLite3)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStaticTargets.cmake)
  set(sqlwrapper_static_FOUND TRUE)
endif()

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStandaloneTargets.cmake)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStandaloneTargets.cmake)
  set(sqlwrapper_standalone_FOUND TRUE)
endif()

foreach(sqlwrapper_component IN LISTS sqlwrapper_FIND_COMPONENTS)
  if(sqlwrapper_FIND_REQUIRED_${sqlwrapper_component} AND
     NOT sqlwrapper_${sqlwrapper_component}_FOUND)
    set(sqlwrapper_FOUND FALSE)
    set(sqlwrapper_NOT_FOUND_MESSAGE
      "The component '${sqlwrapper_component}' of sqlwrapper is not installed here.")
  endif()
endforeach()
unset(sqlwrapper_component)

# find_package(sqlwrapper [COMPONENTS [shared | static] [prepared] [standalone]])
#
# Gives sqlwrapper::sqlwrapper and, where they are installed, sqlwrapper::prepared, the companion
# library, and sqlwrapper::standalone, which takes the platform's part in programs that run without
# one. Of shared and static libraries side by side the shared ones are taken, unless the component
# `static` asks for the others.

foreach(sqlwrapper_component IN ITEMS shared static prepared standalone)
  set(sqlwrapper_${sqlwrapper_component}_FOUND FALSE)
endforeach()

if(EXISTS ${CMAKE_CURRENT_LIST_DIR}/sqlwrapperSharedTargets.cmake AND
   NOT "static" IN_LIST sqlwrapper_FIND_COMPONENTS)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperSharedTargets.cmake)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperPreparedSharedTargets.cmake
    OPTIONAL RESULT_VARIABLE sqlwrapper_prepared_FOUND)
  set(sqlwrapper_shared_FOUND TRUE)
elseif(EXISTS ${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStaticTargets.cmake)
  include(CMakeFindDependencyMacro)
  find_dependency(SQLite3)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStaticTargets.cmake)
  include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperPreparedStaticTargets.cmake
    OPTIONAL RESULT_VARIABLE sqlwrapper_prepared_FOUND)
  set(sqlwrapper_static_FOUND TRUE)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/sqlwrapperStandaloneTargets.cmake
  OPTIONAL RESULT_VARIABLE sqlwrapper_standalone_FOUND)

foreach(sqlwrapper_component IN LISTS sqlwrapper_FIND_COMPONENTS)
  if(sqlwrapper_FIND_REQUIRED_${sqlwrapper_component} AND
     NOT sqlwrapper_${sqlwrapper_component}_FOUND)
    set(sqlwrapper_FOUND FALSE)
    set(sqlwrapper_NOT_FOUND_MESSAGE
      "The component '${sqlwrapper_component}' of sqlwrapper is not installed here.")
  endif()
endforeach()
unset(sqlwrapper_component)

# How the shared libraries are built.

# build_library(TARGET EXPORTS): EXPORTS is a linker's version script in the current folder.
function(build_library target exports)
  target_compile_features(${target} PUBLIC cxx_std_11)
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD 11
    CXX_EXTENSIONS OFF
    POSITION_INDEPENDENT_CODE ON
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})

  # Only namespace sql is exported, and a library's calls of itself are bound when it is linked. The
  # platform's two symbols stay undefined: the program brings them.
  set(script ${CMAKE_CURRENT_SOURCE_DIR}/${exports})
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  target_link_options(${target} PRIVATE
    -Wl,--version-script=${script} -Wl,-Bsymbolic-functions -Wl,--as-needed
    -Wl,-z,relro,-z,now)
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${script})

  # A tenth of a library's size goes when the compiler sees all of it at once. An archive stays one
  # that every linker reads.
  if(BUILD_SHARED_LIBS AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug"
     AND NOT DEFINED CMAKE_INTERPROCEDURAL_OPTIMIZATION)
    include(CheckIPOSupported)
    check_ipo_supported(RESULT sees_whole_library OUTPUT reason LANGUAGES CXX)
    set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ${sees_whole_library})
  endif()
endfunction()

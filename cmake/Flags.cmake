# ctr_flags: how every target of this project is compiled. Consumers inherit none of it, and what is
# set here holds for this project's folders only, not for a project that they are part of.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
# Sources are grouped by our own rules or not at all (cmake/Grouping.cmake).
set(CMAKE_UNITY_BUILD OFF)
if(PROJECT_IS_TOP_LEVEL)
  set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()

# Shared, unless static libraries are asked for.
set(CTR_LIBRARY_TYPE SHARED)
if(DEFINED BUILD_SHARED_LIBS AND NOT BUILD_SHARED_LIBS)
  set(CTR_LIBRARY_TYPE STATIC)
endif()

# No build type means Release, within another project too, but there only for what is built here.
get_property(ctr_has_configurations GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT ctr_has_configurations AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()
separate_arguments(ctr_release_flags UNIX_COMMAND "${CMAKE_CXX_FLAGS_RELEASE}")

add_library(ctr_flags INTERFACE)
target_compile_options(ctr_flags INTERFACE
  -Wall -Wextra -Wconversion
  "$<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier;-Wunused-const-variable>"
  $<$<CXX_COMPILER_ID:GNU>:-Wzero-as-null-pointer-constant>
  # The same bytes from every compiler and optimisation level: no fused multiply-add.
  -ffp-contract=off
  # g++ 12 at -O3 reports overlaps and overflows inside std::string that are none (GCC bugs 105651
  # and 105329).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>
  "$<$<CONFIG:>:${ctr_release_flags}>"
  $<$<BOOL:${CTR_STRICT}>:-Werror>)
target_compile_definitions(ctr_flags INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
if(CTR_SANITIZE)
  target_compile_options(ctr_flags INTERFACE
    -fsanitize=${CTR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(ctr_flags INTERFACE -fsanitize=${CTR_SANITIZE})
endif()
if(CTR_FUZZ)
  # Counts what is run, for the fuzzers to find inputs that run something else. The test programs need
  # no such counters, which take a third of the time of their compilation.
  target_compile_options(ctr_flags INTERFACE
    $<$<NOT:$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>>:-fsanitize=fuzzer-no-link>)
endif()

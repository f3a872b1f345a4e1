# ctr_flags: how every target of this project is compiled. Consumers inherit none of it.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(ctr_flags INTERFACE)
target_compile_options(ctr_flags INTERFACE
  -Wall -Wextra -Wconversion
  "$<$<CXX_COMPILER_ID:Clang>:-Wreserved-identifier;-Wunused-const-variable>"
  # The same bytes from every compiler and optimisation level: no fused multiply-add.
  -ffp-contract=off
  # g++ 12 at -O3 reports overlapping copies inside std::string that are none (GCC bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
  $<$<BOOL:${CTR_STRICT}>:-Werror>)
target_compile_definitions(ctr_flags INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
if(CTR_SANITIZE)
  target_compile_options(ctr_flags INTERFACE
    -fsanitize=${CTR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(ctr_flags INTERFACE -fsanitize=${CTR_SANITIZE})
endif()
if(CTR_FUZZ)
  # Counts what is run, for the fuzzers to find inputs that run something else.
  target_compile_options(ctr_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

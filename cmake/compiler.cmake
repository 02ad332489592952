# One place for language level, warnings and defines; every target links it, tests too.
option(PELLAGO_WERROR "Treat warnings as errors" ON)
option(PELLAGO_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
option(PELLAGO_BENCH "Build the benchmarks" OFF)
option(PELLAGO_FUZZ "Build the fuzz targets (clang)" OFF)

add_library(pellago_compiler INTERFACE)
target_compile_features(pellago_compiler INTERFACE cxx_std_20)
target_compile_options(pellago_compiler INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-qual -Wformat=2 -Wnull-dereference -Wextra-semi
  # g++ 12 takes "literal" + std::string for an overlapping copy (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond;-Wlogical-op;-Wsuggest-override;-Wno-restrict>
  $<$<BOOL:${PELLAGO_WERROR}>:-Werror>)
target_compile_definitions(pellago_compiler INTERFACE
  QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS QT_NO_FOREACH)

if(PELLAGO_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
if(PELLAGO_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
# A program loads only the libraries it uses, not all that its layers could.
add_link_options(-Wl,--as-needed)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

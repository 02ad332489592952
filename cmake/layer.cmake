# pellago_layer(NAME HEADERS … SOURCES … PUBLIC … PRIVATE …)
# A folder of src/ as a static library that sees only the layers and libraries it names, so that a forbidden
# include does not compile.
function(pellago_layer name)
  cmake_parse_arguments(ARG "" "" "HEADERS;SOURCES;PUBLIC;PRIVATE" ${ARGN})
  add_library(${name} STATIC)
  target_sources(${name}
    PRIVATE ${ARG_SOURCES}
    PUBLIC FILE_SET HEADERS BASE_DIRS include FILES ${ARG_HEADERS})
  target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE pellago_compiler ${ARG_PRIVATE})
  target_compile_features(${name} PUBLIC cxx_std_20)
endfunction()

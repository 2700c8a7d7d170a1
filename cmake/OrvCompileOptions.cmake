# One interface target carries what every target of ours is compiled with; nothing is set globally.
add_library(orv_compile_options INTERFACE)
target_compile_features(orv_compile_options INTERFACE cxx_std_20)
target_compile_options(orv_compile_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${ORV_WERROR}>:-Werror>)
if(ORV_SANITIZE)
  target_compile_options(orv_compile_options INTERFACE
    -fsanitize=${ORV_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(orv_compile_options INTERFACE -fsanitize=${ORV_SANITIZE})
endif()

# Objects that end up in the shared library: position independent, hidden unless a public header says otherwise.
function(orv_object_library name)
  add_library(${name} OBJECT)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${name} PRIVATE orv_compile_options)
endfunction()

# Sanitizers and coverage, by WKAGENT_SANITIZE and WKAGENT_COVERAGE; then all that every target of
# the project has in common.
function(wkagent_target_sanitizers target)
  if(WKAGENT_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${WKAGENT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
      # Looks at objects through a pipe, and takes them for broken where there is no descriptor left.
      -fno-sanitize=vptr)
    target_link_options(${target} PRIVATE -fsanitize=${WKAGENT_SANITIZE})
  endif()
  if(WKAGENT_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PRIVATE --coverage)
  endif()
endfunction()

function(wkagent_target_defaults target)
  set_target_properties(${target} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "EXECUTABLE")
    set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  endif()
  wkagent_target_warnings(${target})
  wkagent_target_hardening(${target})
  wkagent_target_sanitizers(${target})
endfunction()

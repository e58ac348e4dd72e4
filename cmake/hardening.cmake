# What makes an error in a root daemon harder to exploit. Fortified functions need an optimised
# build, and the sanitizers bring their own.
function(wkagent_target_hardening target)
  if(WKAGENT_SANITIZE)
    return()
  endif()
  target_compile_options(${target} PRIVATE
    -fstack-protector-strong -fstack-clash-protection -fcf-protection
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  target_link_options(${target} PRIVATE
    -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack -Wl,-z,defs -Wl,--as-needed)
endfunction()

function(velora_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
  if(VELORA_SANITIZE)
    # Sanitizer instrumentation misleads GCC's flow analysis into false
    # "may be used uninitialized" reports inside the standard library.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  endif()
endfunction()

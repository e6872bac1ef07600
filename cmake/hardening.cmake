# What compiler and linker do so that a fault in the code ends the program rather than hands it over. Sanitizers have
# their own ways, and what they find must not be hidden.
if(TOBREL_SANITIZE)
  return()
endif()
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
add_compile_options(-fstack-protector-strong -fstack-clash-protection)
# It checks what the optimiser knows of sizes, and only warns without one.
add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
add_link_options(-Wl,-z,relro,-z,now)
# Where calls and jumps may lead: one name on x86, another on arm64.
foreach(flag -fcf-protection -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER ${flag} known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options(${flag})
  endif()
endforeach()

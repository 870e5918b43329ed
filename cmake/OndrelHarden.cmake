# Flags that make a defect stop the program instead of being used against it, for every target: the
# libraries read files that anybody may have written. They cost nothing that the benchmarks can tell
# from noise. tests/system/HardeningTest.cc looks whether the built files carry them.
#
# Left out under the sanitizers, which see more and are in the way of fortified calls.
option(ONDREL_HARDEN "Build with the compiler's and the linker's protections" ON)
if(NOT ONDREL_HARDEN OR ONDREL_SANITIZE)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)

add_compile_options(-fstack-protector-strong)
# A flag of another processor is only warned of by clang, and is then an error where warnings are.
set(CMAKE_REQUIRED_FLAGS -Werror)
foreach(flag -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "ONDREL_TAKES${flag}" known)
  check_cxx_compiler_flag(${flag} ${known})
  if(${known})
    add_compile_options(${flag})
  endif()
endforeach()
unset(CMAKE_REQUIRED_FLAGS)

# Fortified calls need an optimised build; checks inside of the standard library's containers are
# for builds that look for defects.
add_compile_options(
  "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>"
  "$<$<CONFIG:Debug,RelWithDebInfo>:-D_GLIBCXX_ASSERTIONS>")

add_link_options(LINKER:-z,relro,-z,now,-z,noexecstack)
check_pie_supported(LANGUAGES CXX)

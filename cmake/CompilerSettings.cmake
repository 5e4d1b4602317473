# Language level, warnings and hardening for every target of the project.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# A position-independent executable, so that the loader can place it anywhere.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# Warnings become errors only in the presets (CMAKE_COMPILE_WARNING_AS_ERROR): the additional
# warnings of a newer compiler must not break other builds.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)  # g++ 12 falsely sees an overlap in operator+ of strings
endif()

if(WITH_SANITIZERS)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
else()
  # Not -fcf-protection: the start files of Debian 12 lack it, so the linker would drop it for the
  # whole program.
  add_compile_options(-fstack-protector-strong -fstack-clash-protection -D_GLIBCXX_ASSERTIONS)
  # Fortified calls need an optimising build.
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
                      $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=3>)
endif()
# Lets the linker drop functions and data that a program does not use.
add_compile_options(-ffunction-sections -fdata-sections)
add_link_options(-Wl,-z,relro,-z,now -Wl,-z,noexecstack)

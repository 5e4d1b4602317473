# Language level, warnings and hardening for every target of the project.

set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
# A position-independent executable, so that the loader can place it anywhere.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)

if(WITH_SANITIZERS)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
else()
  add_compile_options(-fstack-protector-strong -fstack-clash-protection)
  # Fortified calls need an optimising build.
  add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
                      $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64")
    add_compile_options(-fcf-protection=full)
  endif()
endif()
# What a program does not use of a library it neither carries nor looks up at its start.
add_compile_options(-ffunction-sections -fdata-sections)
add_link_options(-Wl,-z,relro,-z,now -Wl,-z,noexecstack)

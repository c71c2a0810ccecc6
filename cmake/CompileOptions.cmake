# What every target is built with: warnings, which are errors in the presets; hardening in release; sanitizers on
# request. A package build has the build type None, and Debian's own flags for optimization and hardening.
add_library(hearthix_options INTERFACE)
# Files past 2 GiB and times past 2038, also on 32-bit machines.
target_compile_definitions(hearthix_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)
target_compile_options(hearthix_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
  -fno-omit-frame-pointer -fPIE)
# The stack that an unhandled exception prints has names only for symbols that the program exports: its own, as those
# of the library's templates would be a tenth of the file.
target_link_options(hearthix_options INTERFACE -Wl,--dynamic-list=${CMAKE_CURRENT_SOURCE_DIR}/cmake/exported.txt -pie)

# -O3 makes the driver a tenth larger, for lines that cost 4 % less.
string(REPLACE "-O3" "-O2" CMAKE_CXX_FLAGS_RELEASE "${CMAKE_CXX_FLAGS_RELEASE}")

# g++ 12 takes "text" + string for a copy onto itself. In precompiled headers its library no longer counts as the
# system's, and more such guesses come to light.
target_compile_options(hearthix_options INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict -Wno-array-bounds -Wno-stringop-overflow -Wno-stringop-overread>)

# Hardening that not every processor has.
include(CheckCXXCompilerFlag)
foreach(flag -fstack-clash-protection -fcf-protection)
  string(MAKE_C_IDENTIFIER "HEARTHIX${flag}" known)
  check_cxx_compiler_flag("-Werror ${flag}" ${known})
  if(${known})
    target_compile_options(hearthix_options INTERFACE ${flag})
  endif()
endforeach()
# A build says nothing of the folder that it was made in, so that two of them are the same.
target_compile_options(hearthix_options INTERFACE -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)

if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(hearthix_options INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3 -fstack-protector-strong)
  target_link_options(hearthix_options INTERFACE -Wl,-z,relro,-z,now)
endif()
if(CMAKE_BUILD_TYPE MATCHES "^(Release|None)$")
  target_compile_definitions(hearthix_options INTERFACE _GLIBCXX_ASSERTIONS)
  target_compile_options(hearthix_options INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(hearthix_options INTERFACE -Wl,--gc-sections -Wl,--as-needed)
  # Relocations of a position independent program in a twentieth of their usual size, where the linker supports it.
  include(CheckLinkerFlag)
  check_linker_flag(CXX -Wl,--fatal-warnings,-z,pack-relative-relocs HEARTHIX_PACKED_RELOCATIONS)
  if(HEARTHIX_PACKED_RELOCATIONS)
    target_link_options(hearthix_options INTERFACE -Wl,-z,pack-relative-relocs)
  endif()
endif()

if(HEARTHIX_SANITIZE)
  target_compile_options(hearthix_options INTERFACE
    -fsanitize=${HEARTHIX_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(hearthix_options INTERFACE -fsanitize=${HEARTHIX_SANITIZE})
endif()

if(HEARTHIX_COVERAGE)
  target_compile_definitions(hearthix_options INTERFACE HEARTHIX_COVERAGE)
  target_compile_options(hearthix_options INTERFACE --coverage)
  target_link_options(hearthix_options INTERFACE --coverage)
endif()

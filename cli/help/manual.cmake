# SPDX-License-Identifier: MIT
# Writes the manual page from the command's help; with CHECK it compares the two:
#   cmake -DCOMMAND=brumbler -DMANUAL=brumbler.1.in [-DCHECK=ON] -P manual.cmake
# Version and date stay variables, which the build fills in.
execute_process(
  COMMAND help2man --no-info --help-option=--help-all --version-string=@PROJECT_VERSION@
    "--name=a fuzz for guitar and bass" --include=${CMAKE_CURRENT_LIST_DIR}/brumbler.h2m ${COMMAND}
  OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "^[^\n]*help2man[^\n]*\n\\.TH [^\n]*"
  ".\\\\\" Made from the command's help by help2man. Change that, or brumbler.h2m, and build the target `manual`.\n\
.TH BRUMBLER 1 @BRUMBLER_RELEASE_DATE@ \"brumbler @PROJECT_VERSION@\" \"User Commands\"" text "${text}")
string(REPLACE ".PP\nSubcommands:\n" ".SH SUBCOMMANDS\n" text "${text}")
if(NOT CHECK)
  file(WRITE ${MANUAL} "${text}")
  return()
endif()
file(READ ${MANUAL} kept)
if(NOT kept STREQUAL text)
  message(FATAL_ERROR "cli/help/brumbler.1.in differs from the command's help. Build the target `manual`:\n"
    "  cmake --build --preset release --target manual")
endif()

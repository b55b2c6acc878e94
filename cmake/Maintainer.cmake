# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Sets `maintainer`, who answers for the packages, as "Name <address>": PISTONFIELD_MAINTAINER, or
# whoever builds them, as the environment of Debian's tools has it, or git, or the machine.
set(PISTONFIELD_MAINTAINER "" CACHE STRING
    "Who answers for the packages, as \"Name <address>\"; empty: whoever builds them")

# git_setting(RESULT NAME)
function(git_setting result name)
  find_package(Git QUIET)
  if(Git_FOUND)
    execute_process(COMMAND ${GIT_EXECUTABLE} -C ${PROJECT_SOURCE_DIR} config ${name}
      OUTPUT_VARIABLE value OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  set(${result} "${value}" PARENT_SCOPE)
endfunction()

set(name_and_address "^[^<>@,;]*[^<>@,; ] <[^<>@,; ]+@[^<>@,; ]+>$")
if(NOT PISTONFIELD_MAINTAINER STREQUAL "" AND NOT PISTONFIELD_MAINTAINER MATCHES ${name_and_address})
  message(FATAL_ERROR
    "PISTONFIELD_MAINTAINER is '${PISTONFIELD_MAINTAINER}'; it must be like 'Name <address>'")
endif()

git_setting(name user.name)
git_setting(address user.email)
cmake_host_system_information(RESULT machine QUERY FQDN)
foreach(candidate IN ITEMS "${PISTONFIELD_MAINTAINER}" "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>"
        "${name} <${address}>" "the pistonfield developers <packager@${machine}>")
  if("${candidate}" MATCHES ${name_and_address})
    set(maintainer "${candidate}")
    break()
  endif()
endforeach()

# Debian's packages: one for each component of what is installed.
set(components actions devserver)
if(TARGET tobrel-action-gtk)
  list(APPEND components actions-gtk)
  foreach(name ${TOBREL_MENUS} dolphin)
    list(APPEND components actions-${name})
  endforeach()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_SOURCE_DIR}/build/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Tobrel developers <developers@tobrel.example>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)

# package COMPONENT SUMMARY TEXT FIELD...: the fields as Debian calls them, each with its value behind it.
function(package component summary text)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME tobrel-${component} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION utils PARENT_SCOPE)
  while(ARGN)
    list(POP_FRONT ARGN field value)
    set(CPACK_DEBIAN_${upper}_PACKAGE_${field} "${value}" PARENT_SCOPE)
  endwhile()
  set(documentation share/doc/tobrel-${component})
  install(FILES ${CMAKE_SOURCE_DIR}/packaging/debian/copyright DESTINATION ${documentation} COMPONENT ${component})
  changelog(${component} ${documentation})
endfunction()

# CHANGELOG.md in the form in which Debian reads it.
function(changelog component destination)
  file(READ ${CMAKE_SOURCE_DIR}/CHANGELOG.md text)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
  execute_process(COMMAND git -C ${CMAKE_SOURCE_DIR} log -1 --format=%aD OUTPUT_VARIABLE date ERROR_QUIET
    OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT date)
    execute_process(COMMAND date -R -r ${CMAKE_SOURCE_DIR}/CHANGELOG.md OUTPUT_VARIABLE date
      OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
  string(REGEX REPLACE "^.*## ${PROJECT_VERSION}[^\n]*\n+" "" text "${text}")
  string(REGEX REPLACE "\n## .*$" "" text "${text}")
  string(STRIP "${text}" text)
  string(REGEX REPLACE "(^|\n)- " "\\1  * " text "${text}")
  string(REGEX REPLACE "\n  ([^* ])" "\n    \\1" text "${text}")
  set(file ${CMAKE_BINARY_DIR}/documents/${component}/changelog)
  file(CONFIGURE OUTPUT ${file} CONTENT
    "tobrel-${component} (${PROJECT_VERSION}) unstable; urgency=medium\n\n${text}\n\n -- ${CPACK_DEBIAN_PACKAGE_MAINTAINER}  ${date}\n")
  compressed(${file} ${destination} ${component})
endfunction()

set(same "(= ${PROJECT_VERSION})")
package(actions "Tobrel's file actions, for terminal and scripts"
  "Makes files of a Tobrel storage available offline or online-only, creates share\nlinks, shares folders with other users, and opens items in the web interface."
  DEPENDS ca-certificates SUGGESTS "tobrel-actions-gtk, gnome-keyring")
package(devserver "small Tobrel server for demonstrations and tests"
  "Serves folders of this machine the way a Tobrel server serves its users' files,\non the loopback interface only.")
package(actions-gtk "Tobrel's file actions in windows of the desktop"
  "Shows what Tobrel's file actions ask and tell in small windows." DEPENDS "tobrel-actions ${same}"
  RECOMMENDS "tobrel-actions-nautilus | tobrel-actions-nemo | tobrel-actions-caja | tobrel-actions-thunar | tobrel-actions-dolphin")
foreach(name ${TOBREL_MENUS} dolphin)
  string(SUBSTRING ${name} 0 1 first)
  string(TOUPPER ${first} first)
  string(SUBSTRING ${name} 1 -1 rest)
  set(title ${first}${rest})
  package(actions-${name} "Tobrel's menu in ${title}"
    "Adds a menu with Tobrel's file actions to the file manager ${title}."
    DEPENDS "tobrel-actions-gtk ${same}" ENHANCES ${name})
endforeach()
include(CPack)

# What is installed, by the package that it belongs to. The names of the components are those of the packages, without
# the beginning that they share.
include(GNUInstallDirs)
install(TARGETS tobrel-action tobrel-admin RUNTIME DESTINATION bin COMPONENT actions)
install(TARGETS tobrel-action-online RUNTIME DESTINATION libexec/tobrel COMPONENT actions)
install(TARGETS ${TOBREL_MODULES} LIBRARY DESTINATION libexec/tobrel COMPONENT actions)
install(TARGETS tobrel-devserver RUNTIME DESTINATION bin COMPONENT devserver)

# compressed FILE DESTINATION COMPONENT [NAME]
function(compressed file destination component)
  get_filename_component(name ${file} NAME)
  if(ARGC GREATER 3)
    set(name ${ARGV3})
  endif()
  set(output ${CMAKE_BINARY_DIR}/documents/${component}/${name}.gz)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/documents/${component})
  add_custom_command(OUTPUT ${output} COMMAND gzip -9 -n -c ${file} > ${output} DEPENDS ${file} VERBATIM)
  set_property(GLOBAL APPEND PROPERTY TOBREL_DOCUMENTS ${output})
  install(FILES ${output} DESTINATION ${destination} COMPONENT ${component})
endfunction()

# What a program's users look things up in: manual page, completion in three shells.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(zsh share/zsh/vendor-completions)
else()
  set(zsh share/zsh/site-functions)
endif()
function(documented program component)
  set(packaging ${CMAKE_SOURCE_DIR}/packaging)
  compressed(${packaging}/man/${program}.1 ${CMAKE_INSTALL_MANDIR}/man1 ${component})
  install(FILES ${packaging}/completions/bash/${program} DESTINATION share/bash-completion/completions
    COMPONENT ${component})
  install(FILES ${packaging}/completions/zsh/_${program} DESTINATION ${zsh} COMPONENT ${component})
  install(FILES ${packaging}/completions/fish/${program}.fish DESTINATION share/fish/vendor_completions.d
    COMPONENT ${component})
endfunction()
documented(tobrel-action actions)
documented(tobrel-admin actions)
documented(tobrel-devserver devserver)

if(TARGET tobrel-action-gtk)
  set(desktop ${CMAKE_SOURCE_DIR}/packaging/desktop)
  install(TARGETS tobrel-action-gtk RUNTIME DESTINATION libexec/tobrel COMPONENT actions-gtk)
  install(FILES ${desktop}/tobrel-action-gtk.desktop DESTINATION share/applications COMPONENT actions-gtk)
  install(FILES ${desktop}/com.qelmo.tobrel.actions.metainfo.xml DESTINATION share/metainfo COMPONENT actions-gtk)
  install(FILES ${desktop}/tobrel.svg DESTINATION share/icons/hicolor/scalable/apps COMPONENT actions-gtk)
  install(FILES ${desktop}/tobrel-symbolic.svg DESTINATION share/icons/hicolor/symbolic/apps COMPONENT actions-gtk)
endif()

include(cmake/packages.cmake)
get_property(documents GLOBAL PROPERTY TOBREL_DOCUMENTS)
add_custom_target(documents ALL DEPENDS ${documents})

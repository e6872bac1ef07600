# One library a folder, so that a folder links only what its arrows allow; the folders below a real part are its own.
function(tobrel_layer name folder)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
  if(folder MATCHES "^platform/")
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
    list(FILTER sources EXCLUDE REGEX "/module\\.cpp$")
    list(FILTER sources EXCLUDE REGEX "${folder}/(session|icu)/")
  endif()
  add_library(${name} STATIC ${sources})
  target_include_directories(${name} PUBLIC ${CMAKE_SOURCE_DIR}/src)
  set_target_properties(${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  target_link_libraries(${name} PUBLIC ${ARGN} Threads::Threads)
endfunction()

# The core: decides everything, knows no library but the JSON and URL parsers.
file(GLOB core CONFIGURE_DEPENDS
  ${CMAKE_SOURCE_DIR}/src/dispatch/*.cpp ${CMAKE_SOURCE_DIR}/src/state/*.cpp ${CMAKE_SOURCE_DIR}/src/api/*.cpp
  ${CMAKE_SOURCE_DIR}/src/resolve/*.cpp ${CMAKE_SOURCE_DIR}/src/flows/*.cpp)
tobrel_layer(tobrel_text text ${BOOST_JSON} ${BOOST_URL})
tobrel_layer(tobrel_platform platform tobrel_text)
add_library(tobrel_core STATIC ${core})
target_link_libraries(tobrel_core PUBLIC tobrel_platform)

# The real parts: those that every command needs, and those that only the server's commands need.
# SQLite becomes part of the programs, so that they start fast; Debian's static one cannot become part of a module.
tobrel_layer(tobrel_linux platform/linux tobrel_platform
  $<IF:$<BOOL:$<TARGET_PROPERTY:TOBREL_SHARED_SQLITE>>,sqlite3,${SQLITE}> m ${CMAKE_DL_LIBS})
tobrel_layer(tobrel_linux_online platform/linux_online tobrel_linux PkgConfig::CURL PkgConfig::GCRYPT
  ${CMAKE_DL_LIBS})

# Looking up names is most of a start. The language's library is not loaded; and where HTTP is, two libraries come first
# that hold most of what its libraries look up.
function(tobrel_starts_fast target)
  if(NOT TOBREL_SANITIZE)
    target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
    if(ARGN)
      target_link_options(${target} PRIVATE LINKER:--no-as-needed ${ARGN} LINKER:--as-needed)
    endif()
  endif()
endfunction()

# What takes long to load is a module, loaded on demand (modules.h) and made of its folder's library, which tests may
# link instead. The version is part of its name: it fits no other program.
function(tobrel_module name)
  tobrel_layer(tobrel_${name} platform/linux_online/${name} tobrel_linux_online ${ARGN})
  add_library(tobrel-${name} MODULE ${CMAKE_SOURCE_DIR}/src/platform/linux_online/${name}/module.cpp)
  target_link_libraries(tobrel-${name} PRIVATE tobrel_${name})
  target_link_options(tobrel-${name} PRIVATE -Wl,--version-script=${CMAKE_SOURCE_DIR}/cmake/module.map -Wl,-z,nodelete)
  set_target_properties(tobrel-${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name}-${PROJECT_VERSION}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/libexec/tobrel)
  tobrel_starts_fast(tobrel-${name})
  set(TOBREL_MODULES ${TOBREL_MODULES} tobrel-${name} PARENT_SCOPE)
endfunction()
tobrel_module(session PkgConfig::GIO)
tobrel_module(icu PkgConfig::ICU)

tobrel_layer(tobrel_sheet frontends/sheet tobrel_platform)
tobrel_layer(tobrel_json_front_end frontends/json tobrel_sheet)
tobrel_layer(tobrel_terminal_front_end frontends/terminal tobrel_sheet)
tobrel_layer(tobrel_batch_front_end frontends/batch tobrel_sheet)

# tobrel-admin: the folder's main beside its subcommands, so that tests can link the latter.
file(GLOB admin CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/admin/*.cpp)
list(REMOVE_ITEM admin ${CMAKE_SOURCE_DIR}/src/admin/main.cpp)
if(admin)
  add_library(tobrel_admin_commands STATIC ${admin})
  target_link_libraries(tobrel_admin_commands PUBLIC tobrel_core tobrel_linux tobrel_linux_online)
  add_executable(tobrel-admin ${CMAKE_SOURCE_DIR}/src/admin/main.cpp)
  target_link_libraries(tobrel-admin PRIVATE tobrel_admin_commands)
  tobrel_starts_fast(tobrel-admin -lc ${OPENSSL_CRYPTO_LIBRARY})
  add_dependencies(tobrel-admin ${TOBREL_MODULES})
endif()

# tobrel-action, in two programs: one for what needs no server, which starts fast because it loads nothing but the C
# library, and one with the online parts, which takes over where the command asks the server.
file(GLOB host CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/host/*.cpp)
list(FILTER host EXCLUDE REGEX "main\\.cpp$|/compose_(online|gtk)\\.cpp$")
add_library(tobrel_host STATIC ${host})
target_link_libraries(tobrel_host PUBLIC tobrel_core tobrel_linux tobrel_json_front_end tobrel_terminal_front_end
  tobrel_batch_front_end)
add_executable(tobrel-action ${CMAKE_SOURCE_DIR}/src/host/main.cpp)
target_link_libraries(tobrel-action PRIVATE tobrel_host)
tobrel_starts_fast(tobrel-action)
add_executable(tobrel-action-online ${CMAKE_SOURCE_DIR}/src/host/online_main.cpp
  ${CMAKE_SOURCE_DIR}/src/host/compose_online.cpp)
target_link_libraries(tobrel-action-online PRIVATE tobrel_host tobrel_linux_online)
tobrel_starts_fast(tobrel-action-online -lc ${OPENSSL_CRYPTO_LIBRARY})
add_dependencies(tobrel-action-online ${TOBREL_MODULES})
set_target_properties(tobrel-action-online PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/libexec/tobrel)

# The same with windows, where GTK is.
if(GTK_FOUND)
  tobrel_layer(tobrel_gtk_front_end frontends/gtk tobrel_sheet PkgConfig::GTK)
  add_executable(tobrel-action-gtk ${CMAKE_SOURCE_DIR}/src/host/gtk_main.cpp
    ${CMAKE_SOURCE_DIR}/src/host/compose_gtk.cpp ${CMAKE_SOURCE_DIR}/src/host/compose_online.cpp)
  target_link_libraries(tobrel-action-gtk PRIVATE tobrel_host tobrel_linux_online tobrel_session tobrel_gtk_front_end)
  add_dependencies(tobrel-action-gtk ${TOBREL_MODULES})
  set_target_properties(tobrel-action-gtk PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/libexec/tobrel)
endif()

# What `cmake --install` puts where: libraries under their versions, headers, pkg-config files and CMake
# packages, the program, its completions and, where there is scdoc, its manual. The versions stand in
# the headers, for their readers, and nowhere else.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

add_custom_target(installed)  # All that an installation needs.

function(install_library target prefix description requires)
  set(header ${PROJECT_SOURCE_DIR}/include/${target}/${target}.h)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  set(numbers)
  foreach(part MAJOR MINOR PATCH)
    file(STRINGS ${header} line REGEX "define ${prefix}_VERSION_${part} ")
    string(REGEX REPLACE ".* " "" number "${line}")
    list(APPEND numbers ${number})
  endforeach()
  list(GET numbers 0 major)
  list(JOIN numbers . version)

  add_library(${target}::${target} ALIAS ${target})
  add_dependencies(installed ${target})
  # A library that needs the other one finds it beside itself, wherever both are taken.
  set_target_properties(${target} PROPERTIES VERSION ${version} SOVERSION ${major})
  if(requires)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN"
                          BUILD_WITH_INSTALL_RPATH ON)
  endif()
  target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  install(TARGETS ${target} EXPORT ${target} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${target})

  set(package ${CMAKE_INSTALL_LIBDIR}/cmake/${target})
  set(made ${PROJECT_BINARY_DIR}/packages)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/package.cmake.in ${made}/${target}Config.cmake @ONLY)
  write_basic_package_version_file(${made}/${target}ConfigVersion.cmake VERSION ${version}
                                   COMPATIBILITY SameMajorVersion)
  install(EXPORT ${target} NAMESPACE ${target}:: DESTINATION ${package} FILE ${target}Targets.cmake)
  install(FILES ${made}/${target}Config.cmake ${made}/${target}ConfigVersion.cmake
          DESTINATION ${package})

  # The prefix is known for certain only when it is installed: its name is left until then.
  set(prefix "@prefix@")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/package.pc.in ${made}/${target}.pc.in @ONLY)
  install(CODE "set(prefix \${CMAKE_INSTALL_PREFIX})
                configure_file(${made}/${target}.pc.in ${made}/${target}.pc @ONLY)")
  install(FILES ${made}/${target}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

install_library(btkf520 TRVS "Archives of revisions, for the project database and by themselves" "")
install_library(foldapi FOLDAPI "Project database over archives of revisions" btkf520)

if(TARGET trevault)
  set(completions ${PROJECT_BINARY_DIR}/completions)
  file(MAKE_DIRECTORY ${completions})
  foreach(shell bash zsh)
    add_custom_command(OUTPUT ${completions}/${shell}
                       COMMAND trevault completion ${shell} > ${completions}/${shell}
                       DEPENDS trevault VERBATIM)
  endforeach()
  add_custom_target(completions ALL DEPENDS ${completions}/bash ${completions}/zsh)
  add_dependencies(installed trevault completions)
  install(TARGETS trevault DESTINATION ${CMAKE_INSTALL_BINDIR})
  if(TARGET trevault-serve)
    install(TARGETS trevault-serve DESTINATION ${CMAKE_INSTALL_LIBDIR}/trevault)
  endif()
  install(FILES ${completions}/bash RENAME trevault
          DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
  find_program(SCDOC scdoc)
  if(SCDOC AND NOT FOLDAPI_SANITIZE)
    file(GLOB pages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/man/*.scd)
    set(make_manual ${PROJECT_SOURCE_DIR}/scripts/make_manual.py)
    set(manual ${PROJECT_BINARY_DIR}/manual)
    add_custom_command(OUTPUT ${manual}.made
                       COMMAND ${Python3_EXECUTABLE} ${make_manual} $<TARGET_FILE:trevault> ${SCDOC}
                               ${PROJECT_SOURCE_DIR}/docs/man ${manual}
                       COMMAND ${CMAKE_COMMAND} -E touch ${manual}.made
                       DEPENDS trevault ${pages} ${make_manual} VERBATIM)
    add_custom_target(manual ALL DEPENDS ${manual}.made)
    add_dependencies(installed manual)
    foreach(section 1 5)
      install(DIRECTORY ${manual}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section}
              FILES_MATCHING PATTERN "*.${section}")
    endforeach()
  endif()
  set(ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
      "Where zsh looks for completions")
  install(FILES ${completions}/zsh RENAME _trevault DESTINATION ${ZSH_COMPLETIONS})
endif()

# What a DLL exports, and the import library for its clients.
#
# The 32-bit foldapi.dll has the decorated names of src/api/exports.def, and no other. What the
# library has beside those is exported by its number alone; import libraries find it by that.
# Everywhere else the names are the plain ones.

# The names of all functions that the header of `target` marks as exported by `mark`.
function(names_in_header target mark result)
  file(READ ${PROJECT_SOURCE_DIR}/include/${target}/${target}.h text)
  string(REGEX MATCHALL "\n${mark} [^(;]*\\(" found "${text}")
  set(names)
  foreach(each ${found})
    string(REGEX REPLACE ".*[ *]([A-Za-z0-9]+)\\($" "\\1" name "${each}")
    list(APPEND names ${name})
  endforeach()
  set(${result} ${names} PARENT_SCOPE)
endfunction()

function(export_from_dll target names)
  set_target_properties(${target} PROPERTIES PREFIX "")
  set(definition ${CMAKE_CURRENT_BINARY_DIR}/${target}.def)
  if(target STREQUAL foldapi AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    file(READ ${PROJECT_SOURCE_DIR}/src/api/exports.def lines)
    file(STRINGS ${PROJECT_SOURCE_DIR}/src/api/further_exports.def further REGEX " = ")
    set(number 100)
    foreach(line ${further})
      math(EXPR number "${number} + 1")
      string(APPEND lines "${line} @${number} NONAME\n")
    endforeach()
    file(CONFIGURE OUTPUT ${definition} CONTENT "${lines}" @ONLY)
    target_link_options(${target} PRIVATE -Wl,--enable-stdcall-fixup)
    # The linker's own import library would have clients name one underscore more.
    add_custom_command(TARGET ${target} POST_BUILD VERBATIM COMMAND ${CMAKE_DLLTOOL}
                       --no-leading-underscore -d ${definition} -D ${target}.dll
                       -l $<TARGET_LINKER_FILE:${target}>)
  else()
    if(names STREQUAL "Trvs*")
      names_in_header(${target} TRVS_EXPORT names)
    endif()
    list(JOIN names "\n  " lines)
    file(CONFIGURE OUTPUT ${definition} CONTENT "LIBRARY ${target}\nEXPORTS\n  ${lines}\n" @ONLY)
  endif()
  target_sources(${target} PRIVATE ${definition})
  set_target_properties(${target} PROPERTIES LINK_DEPENDS ${definition})
endfunction()

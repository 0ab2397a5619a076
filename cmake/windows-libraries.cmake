# What scripts/build_windows.sh has put together for a build for Windows.
add_library(zstd INTERFACE)
target_link_libraries(zstd INTERFACE ${WINDOWS_ROOT}/lib/libzstd.a)
target_include_directories(zstd SYSTEM INTERFACE ${WINDOWS_ROOT}/include)
foreach(library CLI11::CLI11 fmt::fmt nlohmann_json::nlohmann_json)
  add_library(${library} INTERFACE IMPORTED)
  target_include_directories(${library} SYSTEM INTERFACE ${WINDOWS_ROOT}/include)
endforeach()
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)

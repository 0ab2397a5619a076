# The Python package, built in the build directory, for Debian's Python: PYTHONPATH=build/python has
# it. Left out where there is no cffi or no Python.h; a Python without the sanitizers' runtime could
# not load libraries that want it.
find_program(SYSTEM_PYTHON python3 PATHS /usr/bin NO_DEFAULT_PATH)
set(can_build [[import cffi, os, setuptools, sysconfig
assert os.path.exists(os.path.join(sysconfig.get_paths()["include"], "Python.h"))]])
if(SYSTEM_PYTHON)
  execute_process(COMMAND ${SYSTEM_PYTHON} -c "${can_build}" RESULT_VARIABLE lacks ERROR_QUIET)
endif()
if(NOT SYSTEM_PYTHON OR lacks)
  message(STATUS "No cffi for /usr/bin/python3: the Python package is left out")
  return()
endif()

set(PYTHON_SOURCE ${PROJECT_SOURCE_DIR}/python)
set(PYTHON_PACKAGE ${PROJECT_BINARY_DIR}/python)
set(python_environment ${CMAKE_COMMAND} -E env FOLDAPI_INCLUDE=${PROJECT_SOURCE_DIR}/include
    FOLDAPI_LIBRARIES=${PROJECT_BINARY_DIR})
set(python_native ${PYTHON_SOURCE}/build_native.py ${PYTHON_SOURCE}/paths.c
    ${PROJECT_SOURCE_DIR}/include/foldapi/foldapi.h ${PROJECT_SOURCE_DIR}/include/btkf520/btkf520.h)
file(GLOB python_modules CONFIGURE_DEPENDS ${PYTHON_SOURCE}/trevault/*)
list(FILTER python_modules EXCLUDE REGEX "__pycache__|mypy_cache")

# The libraries need to be there, but a change in them alone changes nothing here.
add_custom_command(OUTPUT ${PYTHON_PACKAGE}.native
                   COMMAND ${python_environment} ${SYSTEM_PYTHON} -B ${PYTHON_SOURCE}/build_native.py
                           ${PYTHON_PACKAGE}
                   COMMAND ${CMAKE_COMMAND} -E touch ${PYTHON_PACKAGE}.native
                   DEPENDS ${python_native} VERBATIM)
add_custom_command(OUTPUT ${PYTHON_PACKAGE}.modules
                   COMMAND ${CMAKE_COMMAND} -E make_directory ${PYTHON_PACKAGE}/trevault
                   COMMAND ${CMAKE_COMMAND} -E copy ${python_modules} ${PYTHON_PACKAGE}/trevault
                   COMMAND ${CMAKE_COMMAND} -E touch ${PYTHON_PACKAGE}.modules
                   DEPENDS ${python_modules} VERBATIM)
if(FOLDAPI_TESTS)
  set(in_all ALL)
endif()
add_custom_target(python ${in_all} DEPENDS ${PYTHON_PACKAGE}.native ${PYTHON_PACKAGE}.modules)
add_dependencies(python foldapi btkf520)

# What pip installs.
set(python_made ${PROJECT_BINARY_DIR}/python-source)
add_custom_target(python_source
                  COMMAND ${CMAKE_COMMAND} -E make_directory ${python_made}
                  COMMAND ${python_environment} ${SYSTEM_PYTHON} -B -W ignore setup.py -q egg_info
                          --egg-base ${python_made} sdist --dist-dir ${python_made}
                  WORKING_DIRECTORY ${PYTHON_SOURCE} VERBATIM)

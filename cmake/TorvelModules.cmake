# Each sub-folder of core/ is one static library named torvel_<folder>, built from every .cpp it holds,
# so adding a file never means editing a list. Tests follow the same rule under tests/<folder>/.

function(torvel_core_module name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp")
  if(sources)
    add_library(torvel_${name} STATIC ${sources})
    target_include_directories(torvel_${name} PUBLIC "${PROJECT_SOURCE_DIR}/core")
    target_link_libraries(torvel_${name} PUBLIC ${ARG_DEPS})
  else()
    add_library(torvel_${name} INTERFACE)
    target_include_directories(torvel_${name} INTERFACE "${PROJECT_SOURCE_DIR}/core")
    target_link_libraries(torvel_${name} INTERFACE ${ARG_DEPS})
  endif()
  add_library(torvel::${name} ALIAS torvel_${name})
endfunction()

function(torvel_test_module name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/${name}/*_test.cpp")
  if(NOT sources)
    return()
  endif()
  add_executable(${name}_tests ${sources})
  target_include_directories(${name}_tests PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}")
  # Test code runs once per build, so optimising it costs far more than it saves: unoptimised, it compiles in
  # about 60 % of the time. The code under test keeps the build's flags. _FORTIFY_SOURCE wants optimisation.
  target_compile_options(${name}_tests PRIVATE -O0 -U_FORTIFY_SOURCE)
  target_link_libraries(${name}_tests PRIVATE ${ARG_DEPS} GTest::gtest GTest::gmock GTest::gtest_main)
  target_compile_definitions(${name}_tests PRIVATE
    TORVEL_FIXTURES="${CMAKE_CURRENT_SOURCE_DIR}/fixtures"
    TORVEL_SOURCE_DIR="${PROJECT_SOURCE_DIR}")
  # The formatters and the journal depend on both; pin them so results never drift with the machine.
  gtest_discover_tests(${name}_tests
    PROPERTIES ENVIRONMENT "TZ=Europe/Paris;LANG=C.UTF-8;LC_ALL=C.UTF-8"
    DISCOVERY_TIMEOUT 30)
endfunction()

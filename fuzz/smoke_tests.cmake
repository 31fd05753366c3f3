# Smoke runs of the fuzz targets inside the normal test suite: each target
# over its regression inputs and then for a few seconds from its seeds. The
# targets need clang and a build of their own with the fuzzer's hooks, so
# scripts/fuzz.sh builds them in build-fuzz/ at the top, one tree shared by
# the plain and the sanitizer suites (it is built once, and its builds take
# turns); the build is a test of its own that the runs wait for. Without
# clang every one of these tests is reported as skipped.
set(VELK_FUZZ_SMOKE_SECONDS 5 CACHE STRING "Seconds each fuzz target runs in the test suite")
set(VELK_FUZZ_TREE ${PROJECT_SOURCE_DIR}/build-fuzz CACHE PATH "Build tree of the fuzz targets")
set(VELK_FUZZ_ENV FUZZ_BUILD_DIR=${VELK_FUZZ_TREE})

add_test(NAME fuzz_build COMMAND ${PROJECT_SOURCE_DIR}/scripts/fuzz.sh --build)
set_tests_properties(fuzz_build PROPERTIES
  ENVIRONMENT "${VELK_FUZZ_ENV}" FIXTURES_SETUP velk_fuzz_tree
  RESOURCE_LOCK velk_fuzz_tree SKIP_RETURN_CODE 77 TIMEOUT 900)

foreach(target line_path builder command_parser transfer)
  add_test(NAME fuzz_smoke_${target}
           COMMAND ${PROJECT_SOURCE_DIR}/scripts/fuzz.sh ${target} ${VELK_FUZZ_SMOKE_SECONDS})
  set_tests_properties(fuzz_smoke_${target} PROPERTIES
    ENVIRONMENT "${VELK_FUZZ_ENV}" FIXTURES_REQUIRED velk_fuzz_tree
    RESOURCE_LOCK velk_fuzz_tree SKIP_RETURN_CODE 77 TIMEOUT 300)
endforeach()

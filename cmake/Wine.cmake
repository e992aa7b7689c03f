# Tests for Windows run with Wine, in a folder of the build's own.
get_target_property(qt_core_library Qt5::Core LOCATION)
get_filename_component(qt_root ${qt_core_library} DIRECTORY)
get_filename_component(qt_root ${qt_root} DIRECTORY)
set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_SOURCE_DIR}/tools/wine-run --prefix ${CMAKE_BINARY_DIR}/wine --qt ${qt_root})

# A build alone starts nothing.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)

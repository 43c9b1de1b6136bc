pkg_check_modules(XCB_BENCH REQUIRED IMPORTED_TARGET xcb xcb-shm)
add_executable(bench_capture ${CMAKE_CURRENT_LIST_DIR}/bench_capture.cpp)
target_link_libraries(bench_capture PRIVATE
  lumivane_flags lumivane_platform_linux lumivane_test_xserver PkgConfig::XCB_BENCH)

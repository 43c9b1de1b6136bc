add_executable(bench_process bench_process.cpp Figures.cpp)
target_include_directories(bench_process PRIVATE "${CMAKE_SOURCE_DIR}/tests")
target_link_libraries(bench_process PRIVATE lumivane_flags lumivane_test_program
  lumivane_test_accessibility lumivane_test_tray)

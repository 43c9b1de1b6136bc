add_executable(bench_road bench_road.cpp Figures.cpp)
target_include_directories(bench_road PRIVATE "${CMAKE_SOURCE_DIR}/tests")
target_link_libraries(bench_road PRIVATE lumivane_flags lumivane_analysis lumivane_platform_linux
  lumivane_test_support lumivane_test_xserver lumivane_fakes_platform Qt6::Widgets)

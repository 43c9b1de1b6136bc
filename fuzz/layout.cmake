add_executable(fuzz_layout ${CMAKE_CURRENT_LIST_DIR}/fuzz_layout.cpp)
target_link_libraries(fuzz_layout PRIVATE lumivane_flags lumivane_screen)
target_link_options(fuzz_layout PRIVATE -fsanitize=fuzzer)

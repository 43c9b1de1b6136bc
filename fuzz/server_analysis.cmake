# build/fuzz/fuzz/fuzz_practice_memory -max_total_time=60 -max_len=4096 NEW_FOLDER fuzz/corpus/practice_memory
foreach(target fuzz_practice_memory fuzz_analyze_records)
  add_executable(${target} ${CMAKE_CURRENT_LIST_DIR}/${target}.cpp)
  target_link_libraries(${target} PRIVATE lumivane_flags lumivane_server_memory)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
endforeach()
target_compile_definitions(fuzz_practice_memory PRIVATE
  LUMIVANE_PRACTICE_MEMORY="${CMAKE_BINARY_DIR}/server/practice-memory.sqlite3")
add_dependencies(fuzz_practice_memory lumivane-practice-memory-file)

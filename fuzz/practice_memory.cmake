lumivane_fuzz(practice_memory lumivane_server_memory)
target_compile_definitions(fuzz_practice_memory PRIVATE
  LUMIVANE_PRACTICE_MEMORY="${CMAKE_BINARY_DIR}/server/practice-memory.sqlite3")
add_dependencies(fuzz_practice_memory lumivane-practice-memory-file)

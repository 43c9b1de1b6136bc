# build/fuzz/fuzz/fuzz_timestamp -max_total_time=60 -max_len=1024 NEW_FOLDER fuzz/corpus/timestamp
foreach(target fuzz_timestamp fuzz_account_records fuzz_handle_filter)
  add_executable(${target} ${CMAKE_CURRENT_LIST_DIR}/${target}.cpp)
  target_link_libraries(${target} PRIVATE lumivane_flags lumivane_accounts)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
endforeach()

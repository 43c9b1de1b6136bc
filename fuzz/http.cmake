# build/fuzz/fuzz/fuzz_http_requests -max_total_time=60 -max_len=4096 NEW_FOLDER fuzz/corpus/http_requests
foreach(target fuzz_http_requests fuzz_form_fields)
  add_executable(${target} ${CMAKE_CURRENT_LIST_DIR}/${target}.cpp)
  target_link_libraries(${target} PRIVATE lumivane_flags lumivane_server_http)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
endforeach()

# A load client for the running service; see docs/SERVICE.md.
add_executable(bench_service bench_service.cpp)
target_link_libraries(bench_service PRIVATE lumivane_flags Threads::Threads)
target_compile_definitions(bench_service PRIVATE
  LUMIVANE_SERVICE_EXECUTABLE="$<TARGET_FILE:lumivane-service>")
add_dependencies(bench_service lumivane-service)

# Load clients for the running service; see docs/SERVICE.md.
add_library(lumivane_service_load STATIC ServiceLoad.cpp SeededAccounts.cpp)
target_include_directories(lumivane_service_load PUBLIC "${CMAKE_CURRENT_SOURCE_DIR}")
target_link_libraries(lumivane_service_load
  PRIVATE lumivane_flags
  PUBLIC lumivane_server_accounts Threads::Threads)
target_compile_definitions(lumivane_service_load PRIVATE
  LUMIVANE_SERVICE_EXECUTABLE="$<TARGET_FILE:lumivane-service>")

foreach(program bench_service bench_mixed bench_replicas)
  add_executable(${program} ${program}.cpp)
  target_link_libraries(${program} PRIVATE lumivane_flags lumivane_service_load)
  add_dependencies(${program} lumivane-service)
endforeach()

# The database server that the tests start as well.
find_package(PostgreSQL REQUIRED)
include(PostgresPrograms)
target_sources(bench_replicas PRIVATE ReplicaClient.cpp
  "${CMAKE_SOURCE_DIR}/tests/server/PostgresServer.cpp"
  "${CMAKE_SOURCE_DIR}/tests/server/ProgramStart.cpp")
target_include_directories(bench_replicas PRIVATE "${CMAKE_SOURCE_DIR}/tests")
target_link_libraries(bench_replicas PRIVATE
  ${LUMIVANE_SOCI_POSTGRES} PostgreSQL::PostgreSQL lumivane_test_waiting)
target_compile_definitions(bench_replicas PRIVATE
  LUMIVANE_POSTGRES_PROGRAMS="${LUMIVANE_POSTGRES_PROGRAMS}"
  LUMIVANE_POSTGRES_TEMPLATE="${LUMIVANE_POSTGRES_TEMPLATE}")

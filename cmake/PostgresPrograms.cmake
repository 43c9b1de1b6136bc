# LUMIVANE_POSTGRES_PROGRAMS: where the newest database server installed keeps its programs, which
# Debian leaves out of the path; empty where there is none. Only tests and benchmarks start one.
file(GLOB postgres_programs /usr/lib/postgresql/*/bin)
list(SORT postgres_programs COMPARE NATURAL ORDER DESCENDING)
set(LUMIVANE_POSTGRES_PROGRAMS "")
if(postgres_programs)
  list(GET postgres_programs 0 LUMIVANE_POSTGRES_PROGRAMS)
endif()

# LUMIVANE_POSTGRES_TEMPLATE: where tests and benchmarks keep an empty cluster of that version.
cmake_path(GET LUMIVANE_POSTGRES_PROGRAMS PARENT_PATH postgres_version)
cmake_path(GET postgres_version FILENAME postgres_version)
set(LUMIVANE_POSTGRES_TEMPLATE "${CMAKE_BINARY_DIR}/postgres-template-${postgres_version}")

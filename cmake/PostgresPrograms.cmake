# LUMIVANE_POSTGRES_PROGRAMS: where the newest database server installed keeps its programs, which
# Debian leaves out of the path; empty where there is none. Only tests and benchmarks start one.
file(GLOB postgres_programs /usr/lib/postgresql/*/bin)
list(SORT postgres_programs COMPARE NATURAL ORDER DESCENDING)
set(LUMIVANE_POSTGRES_PROGRAMS "")
if(postgres_programs)
  list(GET postgres_programs 0 LUMIVANE_POSTGRES_PROGRAMS)
endif()

# The benchmarks: one program, which runs `talvo` and others beside what it measures itself, and one that makes repositories to show figures with.
# Neither is ever installed.
find_package(SQLite3 REQUIRED)  # a peer

talvo_sources(benchSources bench/*.cpp)
talvo_sources(librarySources bench/library/*.cpp)
list(REMOVE_ITEM librarySources bench/library/main.cpp)
list(REMOVE_ITEM benchSources bench/library/main.cpp ${librarySources})

# Writes repositories by the module's own writers of formats, which it therefore sees, unlike the benchmarks.
add_library(talvo_bench_library STATIC EXCLUDE_FROM_ALL ${librarySources} bench/bare_files.cpp bench/measure.cpp)
target_include_directories(talvo_bench_library PRIVATE ${moduleRoots})
target_link_libraries(talvo_bench_library PUBLIC talvo_assets OpenSSL::Crypto)
list(REMOVE_ITEM benchSources bench/bare_files.cpp bench/measure.cpp)

add_executable(talvo_bench EXCLUDE_FROM_ALL ${benchSources})
target_link_libraries(talvo_bench PRIVATE talvo_bench_library SQLite::SQLite3)
add_executable(make_library EXCLUDE_FROM_ALL bench/library/main.cpp)
target_link_libraries(make_library PRIVATE talvo_bench_library)

# The benchmarks: one program, which runs `talvo` and others beside what it measures itself.
talvo_sources(benchSources bench/*.cpp)
add_executable(talvo_bench EXCLUDE_FROM_ALL ${benchSources})
target_link_libraries(talvo_bench PRIVATE talvo_assets OpenSSL::Crypto)

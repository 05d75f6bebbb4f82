find_package(benchmark REQUIRED)

add_executable(codec_bench
  CodecBench.cpp "${PROJECT_SOURCE_DIR}/tests/archive/LiteralBytePair.cpp")
target_link_libraries(codec_bench PRIVATE vorn_flags patch KernelStandard benchmark::benchmark)

vorn_fuzz(byte_pair_fuzz
  SOURCES BytePairFuzz.cpp "${PROJECT_SOURCE_DIR}/tests/archive/LiteralBytePair.cpp"
  LINKS archive)
vorn_fuzz(reader_fuzz SOURCES ReaderFuzz.cpp LINKS archive)

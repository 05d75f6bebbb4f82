set(tag_samples "${PROJECT_SOURCE_DIR}/tests/assetdata/TagSamples.cpp")
vorn_fuzz(tag_text_fuzz SOURCES TagTextFuzz.cpp ${tag_samples} LINKS assetdata)
vorn_fuzz(chunk_fuzz SOURCES ChunkFuzz.cpp ${tag_samples} LINKS assetdata)
vorn_fuzz(tag_round_trip_fuzz SOURCES TagRoundTripFuzz.cpp ${tag_samples} LINKS assetdata)
vorn_fuzz(kuid_fuzz
  SOURCES KUIDFuzz.cpp "${PROJECT_SOURCE_DIR}/tests/assetdata/LiteralKUID.cpp"
  LINKS assetdata)

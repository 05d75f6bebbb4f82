vorn_fuzz(delta_apply_fuzz SOURCES DeltaApplyFuzz.cpp LINKS delta)
vorn_fuzz(delta_round_trip_fuzz SOURCES DeltaRoundTripFuzz.cpp LINKS delta)

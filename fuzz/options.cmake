vorn_fuzz(options_fuzz SOURCES OptionsFuzz.cpp LINKS kernel_services)

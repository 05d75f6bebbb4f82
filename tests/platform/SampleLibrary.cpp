extern "C" int SampleAnswer() { return 42; }

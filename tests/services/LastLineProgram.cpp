// Logs the last line of the process from a static object that knows nothing of the kernel when it
// is made: it is constructed before main and interns nothing, registers nothing and logs nothing.
#include "services/Log.h"
#include "services/OptionList.h"

namespace {

struct LastSpeaker {
    // Not constant, so that it takes its turn among the static objects of the program.
    LastSpeaker() : module(nullptr) {}
    ~LastSpeaker() { Vorn::LogWrite(module, Vorn::LogLevel::Err, "last words"); }
    Vorn::LogModule* volatile module;
};
LastSpeaker lastSpeaker;

}  // namespace

int main() {
    Vorn::OptionList options;
    Vorn::ParseOptions(options, "-LogDisplayModuleName-");
    Vorn::InitLog(options);
    lastSpeaker.module = Vorn::RegisterLogModule("Program");
    Vorn::LogWrite(lastSpeaker.module, Vorn::LogLevel::Err, "main ends");
    return 0;
}

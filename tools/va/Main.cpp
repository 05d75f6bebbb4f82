// va: the front program of the asset archives. 'va help' tells what it can do.
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "kernel/Exceptions.h"
#include "services/Kernel.h"
#include "tools/va/CommandLine.h"

namespace {

va::ExitCode Run(const std::vector<std::string>& arguments) {
    const va::Invocation invocation = va::ParseCommandLine(arguments);
    const va::ExitCode code = invocation.command->run(invocation);
    if (!std::cout.flush()) va::Refuse("standard output cannot be written: " + va::SystemReason());
    return code;
}

int Complain(const std::string& message, va::ExitCode code) {
    std::cout.flush();
    std::cerr << "va: " << message << '\n';
    return static_cast<int>(code);
}

}  // namespace

int main(int argc, char** argv) {
    const Vorn::Kernel kernel;
    try {
        return static_cast<int>(Run({argv + 1, argv + argc}));
    } catch (const va::Failure& failure) {
        return Complain(failure.message, failure.code);
    } catch (const Vorn::Exception& exception) {
        return Complain(exception.GetReason(), va::ExitCode::Refused);
    } catch (const std::bad_alloc&) {
        return Complain("there is not enough memory for this", va::ExitCode::Refused);
    } catch (const std::exception& exception) {
        return Complain(exception.what(), va::ExitCode::Refused);
    }
}

// zor-printer-service-simulator: stands in for the local printer service.
#include <cstdio>
#include <cstdlib>
#include <exception>

#include "simulator_program.h"

using namespace printer_simulator;

int main(int argc, char** argv) {
    try {
        ProgramOptions options = parse_program_options(argc, argv);
        if (options.version) {
            std::puts("zor-printer-service-simulator " ZOR_SIMULATOR_VERSION);
            return EXIT_SUCCESS;
        }
        return SimulatorProgram(std::move(options)).run();
    } catch (const UsageError& error) {
        std::fprintf(stderr, "zor-printer-service-simulator: %s (see --help)\n", error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "zor-printer-service-simulator: %s\n", error.what());
        return EXIT_FAILURE;
    }
}

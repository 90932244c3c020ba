#include "vcam/cli/commands.h"
#include "vcam/trace/trace_printer.h"

#include <iostream>

int showTrace(const std::string &file) {
    TraceReader reader(file);
    TracePrinter printer(std::cout);
    try {
        while (const std::optional<TraceRecord> record = reader.next()) {
            printer.print(*record);
        }
    } catch (const CameraError &) {
        printer.finish(reader);
        throw;
    }
    printer.finish(reader);
    return 0;
}

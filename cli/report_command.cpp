#include <string>

#include "commands.h"
#include "common/files.h"
#include "common/paths.h"
#include "data_directory.h"
#include "history/store.h"
#include "options.h"
#include "service/log_tail.h"
#include "status/diagnostics.h"

namespace torvel::cli {
namespace {

struct ReportRequest {
    double now = 0;
    bool serviceInstalled = false;
};

std::variant<ReportRequest, std::string> parseRequest(const std::vector<std::string>& args) {
    auto parsed = Options::parse(args, {{"--now", true}, {"--service-installed", true}});
    if (auto* error = std::get_if<std::string>(&parsed)) return *error;
    const Options& options = std::get<Options>(parsed);

    ReportRequest request;
    if (auto error = parseNow(options, request.now)) return *error;
    if (auto error = parseServiceInstalled(options.value("--service-installed"), request.serviceInstalled)) {
        return *error;
    }
    return request;
}

}  // namespace

int reportCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    auto parsed = parseRequest(args);
    if (auto* error = std::get_if<std::string>(&parsed)) {
        printLine(err, tr("torvelctl report: %1", {*error}));
        return exitUsage;
    }
    const ReportRequest& request = std::get<ReportRequest>(parsed);
    const Paths paths = Paths::fromProcessEnvironment();
    const DataDirectoryState data = loadDataDirectory(paths, request.now, request.serviceInstalled);
    std::fprintf(
        out, "%s\n",
        Diagnostics::report(data.settings, Diagnostics::gather(paths, TORVEL_VERSION, TORVEL_VERSION))
            .c_str());
    return exitOk;
}

}  // namespace torvel::cli

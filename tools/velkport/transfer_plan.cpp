// The preparations of the transfer subcommands: every argument and file is
// read and checked before the link opens, so that a mistake costs no
// transfer.
#include <ostream>

#include "velkport/link_options.h"
#include "velkport/transfer_context.h"

namespace velk::cli {
namespace {

// The first plain argument, a number from 1 to 255: `what` is "a slot" or
// "an image number".
int ReadNumberArgument(const TransferArgs& args, const char* what, TransferPlan& plan,
                       std::string& problem) {
    const std::string& text = args.positionals[0];
    if (!ReadWholeNumber(std::string_view(text), plan.number) || plan.number == 0) {
        problem = std::string(what) + " is a number from 1 to 255, not \"" + text + "\"";
        return kExitUsage;
    }
    return kExitDone;
}

int CheckOutput(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (args.output.empty()) return kExitDone;
    plan.output = std::make_unique<OutputFile>(args.output);
    if (std::optional<std::string> bad = plan.output->Check()) {
        problem = *bad;
        return kExitFailure;
    }
    return kExitDone;
}

// NAME FILE behind the number of a write, with the file's text checked by
// `textProblem`.
int ReadWriteArguments(const TransferArgs& args, TransferPlan& plan, std::string& problem,
                       std::optional<std::string> (*textProblem)(const std::string&)) {
    plan.name = args.positionals[1];
    if (std::optional<std::string> bad = NameProblem(plan.name)) {
        problem = *bad;
        return kExitUsage;
    }
    std::optional<std::string> text = ReadTransferFile(args.positionals[2], problem);
    if (!text) return kExitUsage;
    if (std::optional<std::string> bad = textProblem(*text)) {
        problem = *bad;
        return kExitUsage;
    }
    plan.text = std::move(*text);
    return kExitDone;
}

}  // namespace

int PrepareToneGet(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "a slot", plan, problem); code != kExitDone)
        return code;
    return CheckOutput(args, plan, problem);
}

int PrepareTonePut(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "a slot", plan, problem); code != kExitDone)
        return code;
    return ReadWriteArguments(args, plan, problem, &ToneTextProblem);
}

int PrepareImageGet(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "an image number", plan, problem); code != kExitDone) {
        return code;
    }
    return CheckOutput(args, plan, problem);
}

int PrepareImagePut(const TransferArgs& args, TransferPlan& plan, std::string& problem) {
    if (int code = ReadNumberArgument(args, "an image number", plan, problem); code != kExitDone) {
        return code;
    }
    return ReadWriteArguments(args, plan, problem, &ImageTextProblem);
}

bool Transfer::Deliver(const std::string& text) const {
    if (plan.output) {
        std::string problem;
        if (plan.output->Write(text, problem)) return true;
        Report(kExitFailure, problem);
        return false;
    }
    io.out.write(text.data(), static_cast<std::streamsize>(text.size()));
    // A terminal's prompt would otherwise go on where the text ends.
    if (io.outIsTerminal && !text.ends_with('\n')) io.out << '\n';
    io.out.flush();
    return true;
}

std::string Counted(std::size_t count, std::string_view noun) {
    return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace velk::cli

// zrmix, the mixer on the command line.

#include <cstdio>
#include <new>
#include <string>

#include "apps/zrmix/commands.h"
#include "apps/zrmix/run_error.h"

int main(int argc, char** argv) {
    CLI::App app{"Mixes files, pictures and test signals into a file or a stream.", "zrmix"};
    app.require_subcommand(1);
    zrmix::AddPlay(app);
    zrmix::AddMix(app);
    zrmix::AddRun(app);
    zrmix::AddSnapshot(app);
    zrmix::AddCheck(app);
    zrmix::AddConvert(app);
    zrmix::AddProbe(app);
    zrmix::AddFormats(app);
    zrmix::AddKeys(app);
    try {
        app.parse(argc, argv);
        return zrmix::kDone;
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) return app.exit(error);  // help
        const auto IsMeant = [&](const CLI::App* _p) { return _p->get_name() == argv[1]; };
        const bool bUnknown = argc > 1 && argv[1][0] != '-' && app.get_subcommands(IsMeant).empty();
        const std::string reason = bUnknown ? "there is no command " + std::string(argv[1]) : error.what();
        std::fprintf(stderr, "zrmix: %s; \"zrmix --help\" tells more\n", reason.c_str());
        return zrmix::kUsage;
    } catch (const zrmix::UsageError& error) {
        std::fprintf(stderr, "zrmix: %s\n", error.what());
        return zrmix::kUsage;
    } catch (const zrmix::RunError& error) {
        std::fprintf(stderr, "zrmix: %s\n", error.what());
        return zrmix::kRunFailed;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "zrmix: memory is out\n");
        return zrmix::kRunFailed;
    }
}

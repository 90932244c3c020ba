// vcam: a camera on a PC.
#include "vcam/cli/commands.h"
#include "vcam/cli/lives.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <functional>

namespace {

void addTarget(CLI::App &app, Target &target) {
    app.add_option("--runner", target.runner,
                   "What runs programs built for another processor: \"qemu-arm -L SYSROOT\"")
        ->envname("VCAM_RUNNER");
    app.add_option("--board", target.board,
                   "The board's library, built for that processor (default: this PC's)")
        ->envname("VCAM_BOARD")
        ->check(CLI::ExistingFile);
    app.add_option("--voxo", target.voxo, "The daemon's program (default: the one beside vcam)")
        ->envname("VCAM_VOXO")
        ->check(CLI::ExistingFile);
}

void addRun(CLI::App &app, RunOptions &options, std::function<int()> &command,
            const std::string &dir, const Target &target) {
    CLI::App *const run =
        app.add_subcommand("run", "Start a camera with the daemon on it; Ctrl-C ends both");
    run->add_option("--config", options.config,
                    "Its configuration file (default: voxo.xml in the camera's directory)")
        ->check(CLI::ExistingFile);
    run->add_flag("--fast", options.fast, "Play periods as they come, not in real time");
    run->add_flag("--deaf", options.deaf,
                  "Drop periods as soon as the driver has taken them, for measuring");
    run->add_flag("--bare", options.bare, "Only the board and its neighbours, without the daemon");
    run->add_flag("--tuning", options.tuning, "Put the board into tuning mode");
    run->add_option("--listen", options.listen,
                    "Hear the loudspeaker on this PC: --listen, or --listen=DEVICE by ALSA's name")
        ->expected(0, 1)
        ->default_str("default");
    run->add_option("--longest-file", options.longestFile,
                    "Bytes of sound in speaker.wav, before speaker-2.wav goes on (default: 4 GiB)")
        ->check(CLI::Range(std::uint64_t{1}, longestWavSound));
    run->add_option("--fail", options.faults,
                    "Fail the N-th issue of a driver command, or of a call of the C library: "
                    "0xC0785805:2, read:3");
    run->callback([&] { command = [&] { return runCamera(CameraDir(dir), target, options); }; });
}

void addCast(CLI::App &app, CastOptions &options, std::function<int()> &command,
             const std::string &dir) {
    CLI::App *const sub =
        app.add_subcommand("cast", "Stream an audio file to the daemon as G.711 records");
    sub->add_option("file", options.file, "Any file that libsndfile reads")->required();
    sub->add_flag("--ulaw,!--alaw", options.ulaw, "u-law instead of A-law");
    sub->add_flag("--fast", options.fast, "As fast as the daemon takes the records");
    sub->add_flag("--check", options.check,
                  "Compare the loudspeaker with an independent decoder, and print a table");
    sub->add_option("--timeout", options.timeout,
                    "Give up when the daemon takes nothing for so many seconds (default: wait)");
    sub->callback([&] { command = [&] { return cast(CameraDir(dir), options); }; });
}

void addClip(CLI::App &app, std::string &file, std::function<int()> &command,
             const std::string &dir) {
    CLI::App *const clip = app.add_subcommand("clip", "Play WAV clips");
    clip->require_subcommand(1);
    CLI::App *const start = clip->add_subcommand("start", "Name a clip and start it");
    start->add_option("file", file, "A WAV file: 8000 Hz, 16 bits, one or two channels")
        ->required();
    start->callback([&] { command = [&] { return startClip(CameraDir(dir), file); }; });
    CLI::App *const stop = clip->add_subcommand("stop", "Stop the clip");
    stop->callback([&] { command = [&] { return stopClip(CameraDir(dir)); }; });
}

struct SetOptions {
    std::string key;
    std::string value;
};

void addSet(CLI::App &app, SetOptions &options, std::function<int()> &command,
            const std::string &dir) {
    CLI::App *const set = app.add_subcommand("set", "Set one of the camera's settings");
    set->add_option("key", options.key, "For example audioout_c0_volume")->required();
    set->add_option("value", options.value)->required();
    set->callback(
        [&] { command = [&] { return setSetting(CameraDir(dir), options.key, options.value); }; });
}

void addTalk(CLI::App &app, std::string &state, std::function<int()> &command,
             const std::string &dir) {
    CLI::App *const talkCommand = app.add_subcommand("talk", "Begin or end two-way audio");
    talkCommand->add_option("state", state)->required()->check(CLI::IsMember({"on", "off"}));
    talkCommand->callback([&] { command = [&] { return talk(CameraDir(dir), state == "on"); }; });
}

void addTrace(CLI::App &app, std::string &file, std::function<int()> &command) {
    CLI::App *const trace =
        app.add_subcommand("trace", "Print what libvcam_trace.so has recorded of a daemon's life");
    trace->add_option("file", file, "What VOXO_TRACE named")->required()->check(CLI::ExistingFile);
    trace->callback([&] { command = [&] { return showTrace(file); }; });
}

void addPlay(CLI::App &app, PlayOptions &options, std::function<int()> &command,
             const std::string &dir, const Target &target) {
    CLI::App *const sub =
        app.add_subcommand("play", "Live a scenario on a camera of its own, on the virtual clock");
    sub->add_option("scenario", options.scenario, "A YAML file (see samples/scenarios)")
        ->required()
        ->check(CLI::ExistingFile);
    sub->add_option("--repeat", options.repeat, "Live it so often; all lives have to be alike")
        ->check(CLI::Range(1U, 1000U));
    sub->callback([&] { command = [&] { return play(CameraDir(dir), target, options); }; });
}

// "A..B", or one number.
void takeSeeds(const std::string &seeds, SimOptions &options) {
    try {
        std::size_t end = 0;
        options.firstSeed = options.lastSeed = std::stoull(seeds, &end);
        if (seeds.substr(end, 2) == "..") {
            const std::string last = seeds.substr(end + 2);
            options.lastSeed = std::stoull(last, &end);
            end = last.size() == end ? seeds.size() : 0;
        }
        if (end == seeds.size() && options.firstSeed <= options.lastSeed) {
            return;
        }
    } catch (const std::exception &) {
    }
    throw CLI::ValidationError("--seeds", "A..B is wanted, two numbers, not " + seeds);
}

void addSim(CLI::App &app, SimOptions &options, std::function<int()> &command,
            const Target &target) {
    CLI::App *const sub = app.add_subcommand(
        "sim", "Live random lives on the virtual clock, and check what the daemon promises in any");
    sub->add_option_function<std::string>(
           "--seed,--seeds", [&](const std::string &seeds) { takeSeeds(seeds, options); },
           "The seed of a life, or A..B for so many lives, on all processors")
        ->required();
    sub->add_option("--hours", options.hours, "How long each is (default: 1)")
        ->check(CLI::Range(0.05, 10000.0));
    sub->add_option("--keep", options.keep,
                    "Write the scenario of a seed that breaks a promise to this directory");
    sub->add_flag("--shrink", options.shrinks,
                  "Cut such a scenario down to the few events that still show it");
    sub->add_option("--repeat", options.repeat, "Live each so often; all lives have to be alike")
        ->check(CLI::Range(1U, 1000U));
    sub->callback([&] { command = [&] { return sim(target, options); }; });
}

void addSweep(CLI::App &app, SweepOptions &options, std::function<int()> &command,
              const Target &target) {
    CLI::App *const sub = app.add_subcommand(
        "sweep", "Live a scenario again and again, each time with another call that fails");
    sub->add_option("scenario", options.scenario, "A YAML file (see samples/scenarios)")
        ->required()
        ->check(CLI::ExistingFile);
    sub->add_option("--most", options.most,
                    "How many issues of each call, from the first on (default: 30)");
    sub->add_option("names", options.names,
                    "Only these calls and driver commands: read \"ao send\"");
    sub->callback([&] { command = [&] { return sweep(target, options); }; });
}

void addReplay(CLI::App &app, ReplayOptions &options, std::function<int()> &command,
               const std::string &dir, const Target &target) {
    CLI::App *const sub = app.add_subcommand(
        "replay", "Give a daemon the life that a trace tells, and compare its driver commands");
    sub->add_option("file", options.trace, "What VOXO_TRACE named")
        ->required()
        ->check(CLI::ExistingFile);
    sub->add_option("--config", options.config,
                    "The configuration file that the daemon had (default: the delivered one)")
        ->check(CLI::ExistingFile);
    sub->add_option("--scenario", options.scenario,
                    "Write the life as a scenario for vcam play instead");
    sub->callback([&] { command = [&] { return replay(CameraDir(dir), target, options); }; });
}

void addTune(CLI::App &app, std::uint32_t &argument, std::function<int()> &command,
             const std::string &dir) {
    CLI::App *const tuneCommand = app.add_subcommand("tune", "Ask for an audio tuning run");
    tuneCommand->add_option("argument", argument, "Handed to the tuning library");
    tuneCommand->callback([&] { command = [&] { return tune(CameraDir(dir), argument); }; });
}

void addShows(CLI::App &app, std::function<int()> &command, const std::string &dir) {
    app.add_subcommand("status", "Show the board's registers and the settings")->callback([&] {
        command = [&] { return showStatus(CameraDir(dir)); };
    });
    app.add_subcommand("log", "Show the requests to the settings daemon")->callback([&] {
        command = [&] { return showLog(CameraDir(dir)); };
    });
}

void addExec(CLI::App &app, std::function<int()> &command, const std::string &dir,
             const Target &target) {
    CLI::App *const exec =
        app.add_subcommand("exec", "Run a program of yours on the camera's board");
    exec->fallthrough(false)->prefix_command();
    exec->callback([&, exec] {
        command = [&, exec] { return execOnCamera(CameraDir(dir), target, exec->remaining()); };
    });
}

// What the commands are given.
struct Arguments {
    RunOptions run;
    CastOptions cast;
    std::string clipFile;
    SetOptions set;
    std::string talkState;
    std::string traceFile;
    std::uint32_t tuneArgument = 0;
    PlayOptions play;
    SimOptions sim;
    SweepOptions sweep;
    ReplayOptions replay;
};

int run(int argc, char **argv) {
    CLI::App app(
        "A camera on a PC: the board, the settings daemon and the loudspeaker around voxo");
    app.require_subcommand(1);
    app.set_version_flag("--version", "vcam " VCAM_VERSION);
    std::string dir;
    app.add_option("-d,--dir", dir,
                   "The camera's directory (default: $VCAM_DIR, or one of your own)");
    Target target;
    addTarget(app, target);
    app.fallthrough();

    Arguments arguments;
    std::function<int()> command;
    addRun(app, arguments.run, command, dir, target);
    addCast(app, arguments.cast, command, dir);
    addClip(app, arguments.clipFile, command, dir);
    addSet(app, arguments.set, command, dir);
    addTalk(app, arguments.talkState, command, dir);
    addShows(app, command, dir);
    addTune(app, arguments.tuneArgument, command, dir);
    addExec(app, command, dir, target);
    addPlay(app, arguments.play, command, dir, target);
    addSim(app, arguments.sim, command, target);
    addSweep(app, arguments.sweep, command, target);
    addTrace(app, arguments.traceFile, command);
    addReplay(app, arguments.replay, command, dir, target);
    CLI11_PARSE(app, argc, argv);
    return command();
}

} // namespace

int main(int argc, char **argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "vcam: %s\n", error.what());
        return 1;
    }
}

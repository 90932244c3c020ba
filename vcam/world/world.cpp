#include "vcam/world/world.h"

#include "vcam/camera/text_file.h"
#include "vcam/world/end_request.h"

#include <sched.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto hangPatience = std::chrono::seconds(30); // of the wall's clock, at one go
constexpr Moment endPatience = 60 * nanosecondsPerSecond;
constexpr std::uint64_t lookAtDaemon = 2 * nanosecondsPerMillisecond;
constexpr std::uint64_t mostTurns = 200'000; // at one moment

// The clock does not begin at 0, which stands for "never" in places.
constexpr Moment switchedOn = nanosecondsPerSecond;

volatile std::sig_atomic_t encoderSignalCount = 0;

void countEncoderSignal(int /*signal*/) {
    encoderSignalCount = encoderSignalCount + 1;
}

// Keeps this process, and the daemon that it starts, on the processor that it runs on: the two take
// turns, and one processor hands over sooner than two.
void stayOnOneProcessor() {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(sched_getcpu(), &one);
    sched_setaffinity(0, sizeof one, &one);
}

void setUp(BoardRegisters &registers) {
    registers.world.isOn = 1;
    setLongRegister(registers.world.now, switchedOn);
}

} // namespace

void World::Speaker::play(const PlayFormat &format, std::span<const std::int32_t> samples) {
    world_.observer_.onSound(world_.now_, format, samples);
}

void World::Speaker::rest(std::uint64_t nanoseconds) {
    world_.observer_.onRest(nanoseconds);
}

World::World(const CameraDir &dir, Target target, WorldObserver &observer,
             FailingCalls failingCalls)
    : dir_(dir), target_(std::move(target)), failingCalls_(failingCalls), observer_(observer),
      lock_(lockDirectory(dir_)), files_(dir_), board_(dir_, MappedBoard::Mode::create),
      dac_(board_.registers(), time_, speaker_),
      tessel_(
          dir_,
          [this](const std::string &key) {
              if (key == volumeSetting && takesSignals()) {
                  signalDaemon(SIGHUP);
              }
          },
          [this](const std::string &line) { say(Voice::tessel, line); }),
      senders_(
          dir_, [this](const WorldSenders::Record &record) { observer_.onRecord(now_, record); },
          [this] { observer_.onRecordTaken(now_); }),
      output_(dir_.daemonLog()) {
    stayOnOneProcessor();
    encoderSignalCount = 0;
    std::signal(SIGUSR1, countEncoderSignal);
    setUp(registers());
}

unsigned World::encoderSignals() {
    return static_cast<unsigned>(encoderSignalCount);
}

void World::say(Voice voice, const std::string &line) {
    observer_.onLine(now_, voice, line);
}

void World::startDaemon() {
    startDaemon({"-c", dir_.configFile().string(), "-p", voxoPidPath});
}

void World::startDaemon(const std::vector<std::string> &arguments) {
    if (!isDaemonAlive() && !start_) {
        signals_.clear();
        start_ = arguments;
    }
}

// Nothing may happen around the daemon while it runs, so this is the last that is done in a turn.
void World::launchDaemon() {
    if (!std::exchange(hasBoardBeenTried_, true)) {
        requireBoard(dir_, target_);
    }
    registers().world.turn = turnOfDaemon;
    std::vector<std::string> command = {target_.voxoFile()};
    command.insert(command.end(), start_->begin(), start_->end());
    start_.reset();
    daemon_.start(commandOn(target_, command), [&] {
        enterBoard(dir_, target_, failingCalls_);
        output_.redirect();
    });
    output_.daemonStarted(daemon_.pid());
}

void World::signalDaemon(int signal) {
    if (signal != SIGKILL) {
        signals_.push_back(signal);
    } else if (isDaemonAlive()) {
        daemon_.endByForce(); // what is sent at this moment, before the turn is over, finds nobody
        senders_.daemonEnded();
    }
}

// It takes none before it has written its PID file.
bool World::takesSignals() const {
    return isDaemonAlive() && readPidFile(dir_.place(voxoPidPath)) == daemon_.pid();
}

void World::advanceTo(Moment moment) {
    if (moment > now_) {
        now_ = moment;
        turnsAtThisMoment_ = 0;
        setLongRegister(registers().world.now, switchedOn + now_);
    }
}

// Whether the register that the daemon waits for is no longer what it was.
bool World::isChanged() const {
    const BoardRegisters &all = const_cast<World *>(this)->board_.registers();
    const std::uint32_t word = all.world.word;
    constexpr std::size_t words = sizeof all / sizeof(Register);
    return word != 0 && word < words &&
           reinterpret_cast<const Register *>(&all)[word] != all.world.seen;
}

// True: something that may concern the daemon has happened.
bool World::carryOutDue() {
    const bool any = agenda_.carryOut(now_);
    const bool sent = senders_.flush();
    const bool answered = tessel_.serve(registers().world.callers, now_, agenda_);
    dacNext_ = dac_.run(now_);
    return any || sent || answered || isChanged() || !signals_.empty();
}

// Waits until the daemon hands the turn over. False: it has ended.
bool World::awaitDaemon() {
    const auto deadline = Clock::now() + hangPatience;
    Register &turn = registers().world.turn;
    while (turn != turnOfWorld) {
        wall_.waitForChange(turn, turnOfDaemon, wall_.now() + lookAtDaemon);
        if (turn == turnOfWorld) {
            break;
        }
        if (const std::optional<int> status = daemon_.poll()) {
            daemonEnded(*status);
            return false;
        }
        if (Clock::now() > deadline) {
            throw CameraError("the daemon hangs");
        }
    }
    return true;
}

void World::daemonEnded(int status) {
    output_.finish([this](const std::string &line) { say(Voice::daemon, line); });
    senders_.daemonEnded();
    signals_.clear();
    say(Voice::world, "the daemon has ended with status " + std::to_string(status));
    observer_.onDaemonEnd(now_, status);
}

void World::answerDaemon() {
    WorldRegisters &world = registers().world;
    if (++turnsAtThisMoment_ > mostTurns) {
        throw CameraError("the daemon goes round without time passing");
    }
    output_.collect([this](const std::string &line) { say(Voice::daemon, line); });
    switch (world.request) {
    case worldLogsLine: {
        const std::size_t length = std::min(world.lineLength.load(), worldLineRoom);
        std::string line(world.line, length);
        line.erase(line.find_last_not_of('\n') + 1);
        say(Voice::systemLog, output_.masked(line));
        break;
    }
    case worldGoesOn: {
        const Moment asked = longRegister(world.deadline);
        letDaemonWait(asked == endOfTime ? asked : asked - std::min(asked, switchedOn));
        break;
    }
    default:
        world.word = 0;
        letDaemonLook();
        break;
    }
    world.signal = 0;
    if (world.request != worldLogsLine && !signals_.empty()) {
        world.signal = static_cast<std::uint32_t>(signals_.front());
        signals_.pop_front();
    }
    world.turn = turnOfDaemon;
    wall_.wake(world.turn);
}

void World::letDaemonWait(Moment deadline) {
    while (!carryOutDue() && now_ < deadline) {
        const Moment next = std::min({deadline, agenda_.next(), dacNext_});
        if (next == endOfTime) {
            throw CameraError("the daemon waits for what never comes");
        }
        advanceTo(next);
    }
}

void World::attendDaemon() {
    if (start_) {
        launchDaemon();
    }
    while (isDaemonAlive()) {
        throwIfEndIsAskedFor();
        if (awaitDaemon()) {
            answerDaemon();
        }
    }
}

// While there is no daemon.
void World::goOnAlone(Moment end) {
    carryOutDue();
    if (!start_) {
        advanceTo(std::min({end, agenda_.next(), dacNext_}));
    }
}

void World::end() {
    isEnding_ = true;
    say(Voice::world, "the end");
    agenda_.add(now_ + endPatience, [this] {
        if (isDaemonAlive()) {
            throw CameraError("the daemon does not end");
        }
    });
    signalDaemon(SIGTERM);
}

void World::live(Moment end) {
    agenda_.add(end, [this] { this->end(); });
    while (now_ < end) {
        throwIfEndIsAskedFor();
        attendDaemon();
        goOnAlone(end);
    }
}

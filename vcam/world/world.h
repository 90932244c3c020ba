// A camera on the virtual clock. The unmodified daemon runs in its process, everything around it in
// this one, and only one of the two at a time: the daemon until it waits, the world until what it
// waits for has come. Nothing waits for the wall's clock, nothing hangs on which process is
// scheduled when, so the same life is the same to the byte.
#pragma once

#include "vcam/camera/camera_files.h"
#include "vcam/camera/child.h"
#include "vcam/camera/environment.h"
#include "vcam/camera/mapped_board.h"
#include "vcam/speaker/dac.h"
#include "vcam/world/daemon_output.h"
#include "vcam/world/moody_tessel.h"
#include "vcam/world/virtual_clock.h"
#include "vcam/world/world_senders.h"

#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

// Who says a line of the log.
enum class Voice { daemon, systemLog, tessel, world };

// Hears what happens in a world.
class WorldObserver {
public:
    WorldObserver() = default;
    WorldObserver(const WorldObserver &) = delete;
    WorldObserver &operator=(const WorldObserver &) = delete;
    virtual ~WorldObserver() = default;

    virtual void onLine(Moment now, Voice voice, const std::string &line) = 0;
    // A period that has been played.
    virtual void onSound(Moment now, const PlayFormat &format,
                         std::span<const std::int32_t> samples) = 0;
    // Nothing has been played for so long, in front of the next period.
    virtual void onRest(std::uint64_t nanoseconds) = 0;
    // A record that is on its way to the daemon.
    virtual void onRecord(Moment now, const WorldSenders::Record &record) = 0;
    // The daemon has taken it, and may be dealing with it.
    virtual void onRecordTaken(Moment now) = 0;
    virtual void onDaemonEnd(Moment now, int status) = 0;
};

class World {
public:
    virtual ~World() = default;

    // Takes the directory, and lays a camera into it; one world to a process. `failingCalls`: calls
    // of the C library may be made to fail. Throws when the directory cannot be had.
    World(const CameraDir &dir, Target target, WorldObserver &observer,
          FailingCalls failingCalls = FailingCalls::asSet);
    World(const World &) = delete;
    World &operator=(const World &) = delete;

    Moment now() const { return now_; }
    Agenda &agenda() { return agenda_; }
    WorldSenders &senders() { return senders_; }
    MoodyTessel &tessel() { return tessel_; }
    BoardRegisters &registers() { return board_.registers(); }
    const CameraDir &dir() const { return dir_; }

    // Starts the daemon, unless it runs, with the camera's configuration and a PID file or with
    // arguments of the caller's: when all else that is due at this moment has been carried out.
    void startDaemon();
    void startDaemon(const std::vector<std::string> &arguments);
    // It is handled where the daemon waits; SIGKILL ends it there.
    void signalDaemon(int signal);
    bool isDaemonAlive() const { return daemon_.pid() != 0; }
    // Whether the daemon has been told to end since the life is over.
    bool isEnding() const { return isEnding_; }
    // Whether the settings daemon can find it.
    bool takesSignals() const;
    // Whether the daemon's process is its own, not an emulator's.
    bool isDaemonNative() const { return target_.runner.empty(); }
    pid_t daemonPid() const { return daemon_.pid(); }

    // How many signals the audio encoder has had, which is played by this process.
    static unsigned encoderSignals();

    // Goes on until `end`, then has the daemon end. Throws a CameraError when the board does not
    // load into it, when it hangs, goes round without time passing, or does not end.
    void live(Moment end);

protected:
    // What happens while the daemon waits until `deadline`, or looks whether something has come.
    // Time passes in the former.
    virtual void letDaemonWait(Moment deadline);
    virtual void letDaemonLook() { carryOutDue(); }

    void advanceTo(Moment moment);
    // Starts the daemon if that is wanted, and deals with it until it has ended.
    void attendDaemon();

private:
    // What the board tells the time by on this side.
    class Time : public BoardTime {
    public:
        explicit Time(const Moment &now) : now_(now) {}
        std::uint64_t now() override { return now_; }
        void waitForChange(Register & /*word*/, std::uint32_t /*seen*/,
                           std::uint64_t /*deadline*/) override {}
        void wake(Register & /*word*/) override {}

    private:
        const Moment &now_;
    };

    // Tells the observer of the periods.
    class Speaker : public PeriodSink {
    public:
        explicit Speaker(World &world) : world_(world) {}
        void play(const PlayFormat &format, std::span<const std::int32_t> samples) override;
        void rest(std::uint64_t nanoseconds) override;

    private:
        World &world_;
    };

    void say(Voice voice, const std::string &line);
    void launchDaemon();
    bool carryOutDue();
    bool isChanged() const;
    bool awaitDaemon();
    void answerDaemon();
    void goOnAlone(Moment end);
    void daemonEnded(int status);
    void end();

    const CameraDir dir_;
    const Target target_;
    const FailingCalls failingCalls_;
    WorldObserver &observer_;
    const UniqueFd lock_;
    const CameraFiles files_;
    Moment now_ = 0;
    Agenda agenda_;
    MappedBoard board_;
    SystemBoardTime wall_;
    Time time_{now_};
    Speaker speaker_{*this};
    Dac dac_;
    Moment dacNext_ = 0;
    MoodyTessel tessel_;
    WorldSenders senders_;
    DaemonOutput output_;
    Child daemon_;
    std::optional<std::vector<std::string>> start_; // its arguments, when it is to be started
    bool hasBoardBeenTried_ = false;
    bool isEnding_ = false;
    std::deque<int> signals_;
    std::uint64_t turnsAtThisMoment_ = 0;
};

// A handheld in its cradle: power-on, the mode that it comes up in, its links with their faults,
// and the signals that reset it or end it.

#include "simulator/handheld_run.h"

#include "simulator/bootloader.h"
#include "simulator/device_files.h"
#include "simulator/device_registry.h"
#include "simulator/event_loop.h"
#include "simulator/flash_link.h"
#include "simulator/flasher.h"
#include "simulator/noise.h"
#include "simulator/programs.h"
#include "simulator/rapi_calls.h"
#include "simulator/rapi_server.h"
#include "simulator/report.h"
#include "simulator/serial_end.h"

#include "platform/base/clock.h"
#include "platform/base/home.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr int ResetSignal = SIGUSR1;
constexpr int ResetWithKeySignal = SIGUSR2;
constexpr auto ResetLimit = std::chrono::seconds(20);
constexpr auto ResetPoll = std::chrono::milliseconds(5);

sigset_t HandledSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, ResetSignal, ResetWithKeySignal})
        sigaddset(&signals, signal);
    return signals;
}

class Handheld {
public:
    Handheld(const StateFolder& folder, const RunOptions& options);
    ~Handheld() { loop_.Unwatch(signals_.Number()); }
    Handheld(const Handheld&) = delete;
    Handheld& operator=(const Handheld&) = delete;

    void Run() { loop_.Run(); }

private:
    void PowerOn(bool navigatorKey);
    void StopPrograms();
    void StartMode();
    void StartRapi();
    void EnterFlasher(LinkKind kind);
    void HandleBurst(SerialEnd& end, const Burst& burst);
    void PassOn(SerialEnd& end, const Burst& burst);
    void BreakLink();
    void StartLinkFaults();
    void HandleSignal();

    const StateFolder& folder_;
    Report report_;
    SavedState state_;
    Faults faults_;
    EventLoop loop_;
    Descriptor signals_;
    LinkRecord record_;
    DeviceFiles files_;
    DeviceRegistry registry_;
    FlashParts parts_;
    SerialEnd serial_;
    SerialEnd usb_;
    std::uint64_t received_ = 0; // bytes over the link since power-on
    EventLoop::Timer replug_ = 0;
    EventLoop::Timer rapiStart_ = 0;
    std::optional<Noise> noise_;
    const SerialEnd* flasherEnd_ = nullptr; // which the flasher listens to; null: both
    std::unique_ptr<Programs> programs_;
    std::unique_ptr<LinkProgram> linkProgram_;
    std::unique_ptr<RapiServer> rapi_;
};

Handheld::Handheld(const StateFolder& folder, const RunOptions& options)
    : folder_(folder), report_(folder.Path("refused")), state_(folder.Load()),
      faults_(options.faults), record_(options.logFile, options.timesFile),
      files_(folder.Path("files"), folder.Path("attributes")),
      registry_(folder.Path("registry")), parts_{loop_,
                                                 folder_,
                                                 state_,
                                                 faults_,
                                                 report_,
                                                 record_,
                                                 OpenHost(folder.Flash(), O_WRONLY),
                                                 folder.FlashSize()},
      serial_(loop_, platform::HomePath("ports/COM1"), options.baud),
      usb_(loop_, platform::HomePath("ports/WCEUSBSH001"), options.usbBaud) {
    const sigset_t signals = HandledSignals();
    signals_ = Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!signals_)
        FailOn("take", "signals");
    loop_.Watch(signals_.Number(), [this] { HandleSignal(); });
    for (SerialEnd* end : {&serial_, &usb_})
        end->SetReceiver([this, end](const Burst& burst) { HandleBurst(*end, burst); });
    PowerOn(options.navigatorKey);
}

// Everything that runs on the handheld starts anew, from what is in its folder.
void Handheld::PowerOn(bool navigatorKey) {
    StopPrograms();
    StateFolder::Reset(state_, navigatorKey);
    report_.Print(std::string("mode ") + ModeName(state_.mode));
    StartMode();
    folder_.Save(state_); // last: who waits for the reset then finds it listening
    report_.Print("ready");
}

void Handheld::StopPrograms() {
    loop_.Cancel(rapiStart_);
    rapi_.reset();
    linkProgram_.reset();
    programs_.reset();
    flasherEnd_ = nullptr;
    received_ = 0;
    noise_.reset();
    loop_.Cancel(replug_);
    serial_.Reset();
    usb_.Reset();
}

void Handheld::StartMode() {
    if (state_.mode == Mode::Flasher)
        linkProgram_ = std::make_unique<Flasher>(parts_);
    if (state_.mode == Mode::Bootloader)
        linkProgram_ = std::make_unique<Bootloader>(parts_, serial_);
    if (state_.mode != Mode::Normal) {
        StartLinkFaults();
        return;
    }
    programs_ =
        std::make_unique<Programs>(Programs::Context{loop_, folder_, files_, faults_, report_},
                                   [this](LinkKind kind) { EnterFlasher(kind); });
    if (faults_.rapiMilliseconds)
        rapiStart_ =
            loop_.After(platform::HostDuration(*faults_.rapiMilliseconds), [this] { StartRapi(); });
    else
        StartRapi();
}

void Handheld::StartRapi() {
    rapi_ =
        std::make_unique<RapiServer>(loop_, platform::HomePath("cradle.sock"),
                                     RapiDevice{folder_, files_, registry_, *programs_, faults_},
                                     report_, [this] { return state_.mode != Mode::Normal; });
}

void Handheld::EnterFlasher(LinkKind kind) {
    state_.mode = Mode::Flasher;
    folder_.Save(state_);
    report_.Print("mode flasher");
    flasherEnd_ = kind == LinkKind::Serial ? &serial_ : &usb_;
    linkProgram_ =
        std::make_unique<Flasher>(parts_, platform::HostDeadline(faults_.listensMilliseconds));
    StartLinkFaults();
}

void Handheld::StartLinkFaults() {
    if (faults_.portHeld) {
        serial_.LinkToHeldPort();
        usb_.LinkToHeldPort();
        report_.Print("fault: the ports are held");
    }
    if (faults_.noiseSeed)
        noise_.emplace(*faults_.noiseSeed, state_.mode == Mode::Flasher);
}

void Handheld::HandleBurst(SerialEnd& end, const Burst& burst) {
    Burst taken = burst;
    const std::uint64_t last =
        std::min(faults_.diesAt.value_or(UINT64_MAX), faults_.unplugAt.value_or(UINT64_MAX));
    const std::uint64_t left = last - std::min(last, received_);
    taken.bytes = taken.bytes.first(
        static_cast<std::size_t>(std::min<std::uint64_t>(left, taken.bytes.size())));
    received_ += taken.bytes.size();
    record_.LogBytes(taken.bytes);
    if (noise_)
        noise_->SendBeforeAnswer(received_, end, report_);
    PassOn(end, taken);
    if (noise_)
        noise_->SendAfterAnswer(end, report_);
    if (received_ == last)
        BreakLink();
}

void Handheld::PassOn(SerialEnd& end, const Burst& burst) {
    if (!linkProgram_ || (flasherEnd_ && flasherEnd_ != &end))
        report_.PrintRefusal("link: nobody listens: " + Sample(burst.bytes));
    else
        linkProgram_->HandleBurst(end, burst);
}

void Handheld::BreakLink() {
    if (received_ == faults_.unplugAt) {
        faults_.unplugAt.reset(); // once
        serial_.Unplug();
        usb_.Unplug();
        report_.Print("fault: unplugged after " + std::to_string(received_) + " bytes");
        if (faults_.replugMilliseconds)
            replug_ = loop_.After(platform::HostDuration(*faults_.replugMilliseconds), [this] {
                serial_.Plug();
                usb_.Plug();
                report_.Print("fault: back on the bus");
            });
    } else {
        serial_.PauseReceiving();
        usb_.PauseReceiving();
        report_.Print("fault: dead after " + std::to_string(received_) + " bytes");
    }
}

void Handheld::HandleSignal() {
    signalfd_siginfo signal = {};
    if (read(signals_.Number(), &signal, sizeof(signal)) != sizeof(signal))
        return;
    const int number = static_cast<int>(signal.ssi_signo);
    if (number == SIGTERM || number == SIGINT) {
        loop_.Stop();
        return;
    }
    report_.Print("reset");
    faults_ = {};
    PowerOn(number == ResetWithKeySignal);
}

} // namespace

void RunHandheld(const StateFolder& folder, const RunOptions& options) {
    // Blocked before the number of this process is in `pid`, so that no reset kills it.
    const sigset_t signals = HandledSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    const auto lock = folder.Lock();
    if (!lock)
        throw Failure("run " + folder.Path("").string() + ": another process runs it already");
    const std::string number = std::to_string(getpid());
    if (ftruncate(lock->Number(), 0) != 0)
        FailOn("write", folder.Path("pid"));
    WriteAt(*lock, 0,
            std::span(reinterpret_cast<const std::uint8_t*>(number.data()), number.size()),
            folder.Path("pid"));
    if (options.externalPower)
        folder.SetExternalPower(*options.externalPower);
    Handheld(folder, options).Run();
}

void ResetHandheld(const StateFolder& folder, bool navigatorKey) {
    const std::uint32_t resets = folder.Load().resets;
    if (const auto lock = folder.Lock()) {
        SavedState state = folder.Load();
        StateFolder::Reset(state, navigatorKey);
        folder.Save(state);
        return;
    }
    if (kill(folder.RunningProcess(), navigatorKey ? ResetWithKeySignal : ResetSignal) != 0)
        FailOn("reset", folder.Path("pid"));
    const auto limit = Clock::now() + ResetLimit;
    while (folder.Load().resets == resets) {
        if (Clock::now() > limit)
            throw Failure("reset " + folder.Path("").string() + ": no answer from process " +
                          std::to_string(folder.RunningProcess()));
        std::this_thread::sleep_for(ResetPoll);
    }
}

} // namespace simulator

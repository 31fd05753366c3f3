// A simulated phone on a pseudo-terminal: the phone model behind a line that
// behaves as the options say (silent, refusing, noisy, split, hanging up,
// paced at a rate), served by a thread of its own until Stop.
//
//   PhoneSimulator phone;
//   std::string error;
//   if (!phone.Start(options, &error)) ...;
//   velk_SetPortDevice(1, phone.DevicePath().c_str());
//   ...
//   phone.Stop();
#pragma once

#include <chrono>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>

#include "phone_sim/command_assembler.h"
#include "phone_sim/line_pacer.h"
#include "phone_sim/phone_model.h"
#include "phone_sim/pty_line.h"
#include "phone_sim/reply_shaper.h"
#include "phone_sim/simulator_options.h"

namespace velk::phonesim {

class PhoneSimulator {
  public:
    PhoneSimulator() = default;
    ~PhoneSimulator();
    PhoneSimulator(const PhoneSimulator&) = delete;
    PhoneSimulator& operator=(const PhoneSimulator&) = delete;

    // Opens the store and the pseudo-terminal and starts serving. False with
    // `error` set (when given) when any of it fails; nothing then runs.
    bool Start(const SimulatorOptions& options, std::string* error = nullptr);
    // The device a client opens; empty before Start.
    std::string DevicePath() const;
    // Ends the serving, closes the line and writes out the timestamps.
    // Nothing happens when it is not running. Start may follow again.
    void Stop();

    // A descriptor that becomes readable when the phone stopped serving by
    // itself (after --hangup-after): for a program's poll loop. -1 before
    // Start.
    int EndedDescriptor() const { return ended_; }
    // True from the moment the phone hangs up, before its line closes.
    bool Ended() const;

    // Command lines received since Start, empty ones not counted.
    unsigned CommandCount() const;
    // Runs `look` with the phone's store, between two commands.
    void InspectStore(const std::function<void(const PhoneStore&)>& look) const;

  private:
    using Clock = LinePacer::Clock;

    struct InByte {
        char byte;
        Clock::time_point crossed;  // when the byte has come over the line
        Clock::time_point read;     // when it reached the phone's side
    };
    struct OutPiece {
        OutputPiece piece;
        std::size_t sent = 0;
        bool endsReply = false;
    };

    void Serve();
    // False when the line broke.
    bool ReadInput(Clock::time_point now);
    // Hands the bytes that have crossed the line to the command assembler.
    void TakeInput(Clock::time_point now);
    void OnCommand(const std::string& line, Clock::time_point now);
    // A message's text after the prompt, ended by Ctrl-Z or cancelled by Esc.
    void OnText(const std::string& text, bool cancelled, Clock::time_point now);
    // Puts bytes on the line after what is there, in pieces as the options
    // say; `endsReply` stamps the end of the command's reply.
    void Queue(std::string bytes, Clock::time_point now, bool endsReply);
    // Unsolicited lines as a reply leaves them: each on a line of its own.
    void QueueNotices(const Reply& notices, Clock::time_point now);
    // With --notice-delay, the reports held back that are due, once the line
    // is between commands.
    void SendHeldNotices(Clock::time_point now);
    // With --notify, the registration report once it is due and the line is
    // between commands.
    void SendDueNotice(Clock::time_point now);
    bool BetweenCommands() const;
    // Writes what is due; false when the line broke.
    bool WriteOutput(Clock::time_point now);
    // When the phone has something to do next without being woken.
    std::optional<Clock::time_point> NextWake(Clock::time_point now) const;
    void Stamp(char kind, Clock::time_point when);
    void CloseFiles();

    SimulatorOptions options_;
    PtyLine line_;
    int wake_ = -1;
    int ended_ = -1;
    std::thread thread_;
    std::FILE* log_ = nullptr;
    std::FILE* timestamps_ = nullptr;

    mutable std::mutex mutex_;  // guards the store, the model and the two below
    std::unique_ptr<PhoneStore> store_;
    std::unique_ptr<PhoneModel> model_;
    unsigned commands_ = 0;
    bool stopping_ = false;
    bool endedFlag_ = false;

    // The serving thread's own.
    CommandAssembler assembler_;
    LinePacer inPacer_;
    LinePacer outPacer_;
    std::deque<InByte> input_;
    std::deque<OutPiece> output_;
    Clock::time_point frontReady_{};  // when the first piece of output may start
    Clock::time_point commandStart_{};
    Clock::time_point nextNotice_{};
    std::deque<std::pair<Clock::time_point, Reply>> heldNotices_;  // when due, what
    bool held_ = false;                                            // the computer sent XOFF
    bool waitingForRoom_ = false;  // the computer does not read: wait for POLLOUT
    std::mt19937 random_;
};

}  // namespace velk::phonesim

/// The terminal lines of the simulated switch, and the message that is composed for them.
#pragma once

#include "wire/records.h"

#include <chrono>
#include <deque>
#include <string>

namespace sim {

/// A message as it reached the terminals.
struct DeliveredMessage {
    std::chrono::system_clock::time_point time;
    std::string text;
    int32_t duration; ///< for how long it is shown, and
    int32_t interval; ///< how far apart, in seconds; as the sender gave them
};

class Terminals {
public:
    /// Value of the send trigger that has the message sent, and of the one that waits for that.
    static constexpr int32_t send_now = 2;
    static constexpr int32_t idle = 1;

    /// The message in the making.
    const ts_info& message() const { return message_; }

    /// Takes a message over. With the trigger at `send_now` it reaches the terminals at once, and
    /// the trigger falls back, so that it is not sent again with the next change.
    void write(const ts_info& message);

    /// The last messages that reached the terminals, oldest first.
    const std::deque<DeliveredMessage>& delivered() const { return delivered_; }

private:
    ts_info message_{.interval = 1, .duration = 1, .text = {}, .send = idle};
    std::deque<DeliveredMessage> delivered_;
};

/// The terminals of the switch; they outlast an exchange of its chassis.
Terminals& terminals();

} // namespace sim

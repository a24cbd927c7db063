/// The terminal lines of the simulated switch, and the message for them.
#pragma once

#include "wire/records.h"

#include <chrono>
#include <deque>
#include <string>

namespace sim {

/// A message that was sent to the terminals.
struct DeliveredMessage {
    std::chrono::system_clock::time_point time;
    std::string text;
    int32_t duration; ///< for how long it is shown, and
    int32_t interval; ///< how far apart, in seconds; as the sender gave them
};

class Terminals {
public:
    /// Values of the send trigger: one sends the message, the other is idle.
    static constexpr int32_t send_now = 2;
    static constexpr int32_t idle = 1;

    /// The message as composed so far.
    const ts_info& message() const { return message_; }

    /// Stores a message. With the trigger at `send_now` it is sent to the terminals at once, and
    /// the trigger becomes idle, so that the next change does not send it again.
    void write(const ts_info& message);

    /// The last messages that were sent to the terminals, oldest first.
    const std::deque<DeliveredMessage>& delivered() const { return delivered_; }

private:
    ts_info message_{.interval = 1, .duration = 1, .text = {}, .send = idle};
    std::deque<DeliveredMessage> delivered_;
};

/// The terminals of the switch; they are kept when its chassis is replaced.
Terminals& terminals();

} // namespace sim

// Messages between vesk-live and the keeper of its system.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "descriptor.hpp"

namespace VeskGround
{

enum class LiveEvent : char {
    Started = 'S', // text: the host's pid of init; descriptors: init's pidfd, the folder in each hierarchy
    Failed = 'F',  // text: a failure in bytes
    Gone = 'G'     // all is removed; text: what could not be
};

struct LiveMessage {
    LiveEvent event = LiveEvent::Gone;
    std::string text;
    std::vector<Descriptor> descriptors;
};

struct LiveChannel {
    Descriptor owner;
    Descriptor keeper;
};
LiveChannel MakeLiveChannel();

// To a peer that is gone nothing is sent.
void SendLiveMessage(const Descriptor& channel, LiveEvent event, const std::string& text,
                     const std::vector<int>& descriptors = {});

// Nothing when the peer is gone.
std::optional<LiveMessage> ReceiveLiveMessage(const Descriptor& channel);

} // namespace VeskGround

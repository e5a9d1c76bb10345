// What the handheld answers to each RAPI request.
#pragma once

#include "simulator/device_files.h"
#include "simulator/device_registry.h"
#include "simulator/device_state.h"
#include "simulator/faults.h"
#include "simulator/programs.h"

#include <rapi_wire.h>

#include <functional>
#include <set>

namespace simulator {

// What one connection has open on the device, to be closed with it.
struct RapiSession {
    std::set<std::uint32_t> handles;
    std::set<std::uint32_t> keys;
};

// Where requests are carried out.
struct RapiDevice {
    const StateFolder& folder;
    DeviceFiles& files;
    DeviceRegistry& registry;
    Programs& programs;
    const Faults& faults;
};

constexpr std::size_t FrameLengthSize = 4; // of the length in front of each frame

struct RapiAnswer {
    std::uint32_t error = 0;     // the device's last error
    std::uint32_t result = 0;    // of the call
    rapi_wire::Writer outputs{}; // beside these two

    std::vector<std::uint8_t> Frame() const;
};

// A request that has been read but not carried out.
struct RapiRequest {
    std::string line; // for people: "CreateFile \Temp\type.dat"
    std::function<void(RapiAnswer&)> execute;
    std::string details{};     // the arguments that the line does not have
    std::uint32_t failure = 0; // the result of a call of this kind that is refused
};

// Nothing for a frame that is no request. The session and the device outlive the request.
std::optional<RapiRequest> ReadRequest(RapiDevice& device, RapiSession& session,
                                       std::vector<std::uint8_t> frame);

void CloseAll(RapiDevice& device, RapiSession& session);

} // namespace simulator

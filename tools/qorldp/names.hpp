// Names of what stands in messages, from the registries of RFC 5036, RFC 4446 and their successors.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace qorldp {

// One bit of a field and its meaning.
struct FlagName {
    uint32_t bit;
    std::string_view name;
};

// Returns the name of a message type (without U bit), nullptr for an unknown one.
const char *MessageName(uint32_t type);

// These return "unknown" for what is not in their table.
std::string_view StatusName(uint32_t status);  // status code without E and F bit
std::string_view MacTlvName(uint32_t type);
std::string_view ErrorName(uint32_t code);  // result of the codec

// The encapsulation of a PW type (RFC 4446 section 3.2).
std::string_view PwTypeName(uint32_t type);

extern const std::span<const FlagName> kPwStatusFlags;
extern const std::span<const FlagName> kControlChannelFlags;  // VCCV, RFC 5085
extern const std::span<const FlagName> kConnectivityFlags;
extern const std::span<const FlagName> kFlowLabelFlags;  // RFC 6391

}  // namespace qorldp

// Shows messages, events and statistics, as text or as JSON.
#pragma once

#include <memory>

#include "codec.hpp"
#include "message.hpp"
#include "output.hpp"
#include "stats.hpp"

namespace qorldp {

class Printer {
  public:
    virtual ~Printer() = default;
    virtual void Print(const Message &message) = 0;
    virtual void Print(const Event &event) = 0;
    virtual void Print(const Stats &stats) = 0;
};

std::unique_ptr<Printer> MakeTextPrinter(Output &out, Codec &codec);
std::unique_ptr<Printer> MakeJsonPrinter(Output &out, Codec &codec);

}  // namespace qorldp

// What drives a module through its life while the host fails somewhere.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "test_platform.hpp"  // IWYU pragma: export

namespace qor::test {

// One way in which the host fails at its nth call of a kind.
struct Fault {
    char letter;  // names it in the rules of FaultRun::Tell
    const char *name;
    Call call;
    bool onward = false;
    void (*event)(Platform &) = nullptr;
    bool goesOn = false;  // what was made stays, though not as it should be, and is used
};

using Trace = std::vector<std::string>;

// One run of a scenario, step by step. Each step notes what it is told and what the host sees of
// it. When that is not what it notes without a fault, the step is undone and done once more, now
// without fault: then nothing of the fault may be left.
class FaultRun {
  public:
    using Act = std::function<void()>;

    // expected is the trace to keep to; NULL in the run that makes it. Without fault: NULL.
    FaultRun(const Trace *expected, const Fault *fault, uint32_t nth);

    // A step; undo takes it back, whatever came of it.
    void Step(const Act &undo, const Act &act) { Attempt(undo, act, false); }
    void Step(const Act &act) {
        Step([] {}, act);
    }

    // A step that makes an object. It is released at the end of the run, the last one first, when
    // the scenario's own variables are gone.
    template <class Create, class Release>
    auto Make(Create create, Release release) {
        decltype(create()) object = nullptr;
        const auto undo = [&] {
            if (object) release(std::exchange(object, nullptr));
        };
        Attempt(
            undo, [&] { object = Tell("made a:null", create); }, true);
        releases_.push_back([=] { release(object); });
        return object;
    }
    void End();

    // Calls the library and judges the result: "made" or "null" for a pointer, else a hex number.
    // The rule begins with the result without a fault, "*" for any. "t:1|2" adds that it must be 1
    // or 2 when the fault t happens during the call, and may be when it happened earlier in the
    // step; "x:1" what it may be when any fault did; "quiet" that short memory is not reported.
    template <class F>
    auto Tell(const std::string &rule, F call) {
        const uint32_t before = host.faults;
        const auto result = call();
        Judge(rule, Text(result), host.faults != before);
        return result;
    }
    void Note(const std::string &text) { record_ += text + ' '; }

    Platform &host = Platform::Get();
    Trace trace;

    // The alternatives of all rules, and whether a fault needed them.
    static std::map<std::string, bool> needed;

  private:
    template <class T>
    static std::string Text(T *pointer) {
        return pointer ? "made" : "null";
    }
    static std::string Text(uint32_t number);
    static std::string Text(int32_t number) { return Text(static_cast<uint32_t>(number)); }
    void Judge(const std::string &rule, const std::string &told, bool now);
    void Attempt(const Act &undo, const Act &act, bool keep);
    bool Try(const Act &act);

    const Trace *expected_;
    const Fault *fault_;
    std::vector<Act> releases_;
    const size_t blocks_ = host.LiveBlocks();
    bool goesOn_ = false;        // as the fault says; what is told counts no more, but harm does
    std::string record_;         // of the step
    uint32_t faultsBefore_ = 0;  // the step
    uint32_t reports_ = 0;       // that the faults of the step must lead to, at least
};

#define TELL(rule, ...) run.Tell(rule, [&] { return __VA_ARGS__; })

struct Scenario {
    const char *name;
    void (*drive)(FaultRun &run);
};

const std::vector<Scenario> &Scenarios();

}  // namespace qor::test

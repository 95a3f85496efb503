// The page that an endpoint shows in a browser, and the events that it reads.
#pragma once

#include "tvtool/endpoint/Fault.h"
#include "tvtool/endpoint/Registration.h"

#include <cstddef>
#include <deque>
#include <string>

namespace tvtool {

// The page with a policy that lets nothing in it run or load but its own parts.
struct PageText {
    std::string html;
    std::string policy;  // the value of the header Content-Security-Policy
};
PageText MakePage();

// The last requests, as the bytes of an event stream, for pages that are opened later.
class PageEvents {
public:
    // Older events than this many are dropped.
    static constexpr std::size_t cMost = 100;

    void Add(const Registration& registration);
    void Add(const Refusal& refusal);
    // Returns the event that shows the buttons, with that of `fault` pressed.
    static std::string OfFault(const Fault& fault);

    // Returns the bytes of the event `number`, or of the oldest one that is there, and puts the
    // number after it into `number`. Returns "" if there is none yet. Numbers begin at 0.
    std::string Next(std::size_t& number) const;

private:
    void Append(std::string event);

    std::deque<std::string> events_;
    std::size_t first_ = 0;  // the number of events_[0]
};

}  // namespace tvtool

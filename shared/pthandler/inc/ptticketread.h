// Absence of a value in a ticket travels as hr_error; the parameter features turn it into a
// "not found" answer at the one place that decides what absence means.
#pragma once

#include <utility>

#include "hrerror.h"

// Runs the reads; false when one of them throws hr_error. Other exceptions pass through.
template <class Reads>
bool TicketReadSucceeds(Reads&& reads)
{
    try {
        std::forward<Reads>(reads)();
        return true;
    } catch (const hr_error&) {
        return false;
    }
}

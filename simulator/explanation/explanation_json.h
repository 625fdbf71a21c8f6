// The explanation of an event as JSON.
#pragma once

#include "simulator/explanation/explanation_text.h"
#include "simulator/repository/repository.h"
#include "simulator/text/json.h"

namespace simulator {

// Everything that the text of the same level says, and the numbers behind it.
Json explanation_json(const EventExplanation &explanation, const PolicyFile &file, const Step &step, Level level);

// One of many events: its number, its counts, what decided, and the attributes that its target has now.
Json event_json(size_t number, const EventExplanation &explanation, const PolicyFile &file, const Step &step,
                const Repository &repository);

// What decided; null if nothing did.
Json decided_by_json(const EventExplanation &explanation);
// What a step changes before its event.
Json given_json(const Step &step);
// Adds an "error" if a limit stopped the event.
void add_error(Json &object, const EventExplanation &explanation);

// {"attribute", "before", "after"}; null means absent.
Json change_json(const Change &change);

}  // namespace simulator

#include "simulator/service/service.h"

#include "simulator/policy/diagnostics_json.h"
#include "simulator/service/methods.h"
#include "simulator/service/parameters.h"
#include "simulator/text/json_object.h"
#include "simulator/text/text.h"

namespace simulator::service {

namespace {

using messages::Call;
using messages::ErrorCode;
using messages::Failure;

Answered refused(const Json &id, const Failure &failure) {
  return {failure.code, compact_text(messages::error_response(id, failure))};
}

// What the library refuses is no fault of the request, but one of the file, or of the memory.
Failure failure_of(const session::Trouble &trouble) {
  if (const std::optional<session::Trouble::Rejected> &rejected = trouble.rejected) {
    return failure(Refusal::invalid_policy, "the policy file is wrong",
                   {{"file_errors", Json::array({file_errors_json(rejected->source.name(), rejected->diagnostics)})}});
  }
  return failure(Refusal::refused, "the policy file cannot be loaded", {{"complaints", trouble.complaints}});
}

const Method &known_method(const std::string &name) {
  if (const Method *method = find_method(name)) return *method;
  std::vector<std::string_view> names;
  for (const Method &method : methods())
    names.push_back(method.name);
  throw Failure(ErrorCode::method_not_found, no_such("method", name, names));
}

}  // namespace

void Service::load(Source source) {
  if (session_) throw Failure(ErrorCode::internal_error, "a file is loaded already");
  auto session = std::make_unique<session::Session>();
  session::Trouble trouble;
  const bool good = session->begin(trouble) && session->become(std::move(source), trouble);
  if (!good) throw failure_of(trouble);
  session_ = std::move(session);
}

Complaints Service::end() {
  Complaints problems;
  if (session_) problems = session_->end();
  session_.reset();
  return problems;
}

Answered Service::answer(std::string_view text, const Json &figures) {
  figures_ = figures;
  const messages::Message message = messages::parse(text);
  if (const auto *malformed = std::get_if<messages::Malformed>(&message))
    return {malformed->response["error"]["code"].get<int>(), compact_text(malformed->response)};
  if (const auto *call = std::get_if<Call>(&message)) return answer(*call);
  return refused(nullptr, {ErrorCode::invalid_request, "the message has no method"});
}

Answered Service::answer(const Call &call) {
  const Json params = call.params.is_null() ? Json::object() : call.params;
  const Method *method = nullptr;
  Answered checked = respond(call, [&] {
    method = &known_method(call.method);
    check_parameters(method->parameters, params);
    if (method->needs_policy && !session_) throw failure(Refusal::nothing_loaded, "no policy is loaded");
    return Json();
  });
  if (checked.code != 0) return checked;
  const auto work = [&] { return respond(call, [&] { return method->action(*this, params); }); };
  if (method->place != Place::apart) return work();
  const std::optional<Answered> done = surroundings_.apart(work);
  if (done) return *done;
  return respond(call, []() -> Json {
    throw Failure(ErrorCode::internal_error, "the work on the request ended early; the session is as it was before");
  });
}

Answered Service::respond(const Call &call, const std::function<Json()> &act) {
  Answered answered;
  const Json id = call.id.value_or(nullptr);
  try {
    answered = {0, compact_text(messages::response(id, act()))};
    if (answered.text.size() > kMostAnswer)
      answered = refused(id, failure(Refusal::too_large, concat("the result is larger than ", kMostAnswer, " bytes")));
  } catch (const Failure &failure) {
    answered = refused(id, failure);
  } catch (const std::bad_alloc &) {
    throw;
  } catch (const std::exception &error) {
    answered = refused(id, {ErrorCode::internal_error, error.what()});
  }
  // Nobody waits for the outcome of a notification.
  if (!call.id) answered.text.clear();
  return answered;
}

}  // namespace simulator::service

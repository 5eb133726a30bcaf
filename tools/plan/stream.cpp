// SPDX-License-Identifier: Apache-2.0
// Plans for a stream of devices.
#include "tools/plan/stream.h"

#include "tools/plan/lines.h"
#include "tools/plan/plan.h"
#include "tools/plan/plan_text.h"
#include "tools/plan/repeated.h"

#include <cerrno>
#include <cstring>
#include <map>

#include <unistd.h>

namespace plan {

namespace {

constexpr size_t line_limit = size_t{8} << 20;   // bytes
constexpr size_t output_limit = size_t{1} << 16; // bytes that are kept back while input is at hand

class output {
public:
    output() = default;
    output(const output &) = delete;
    output &operator=(const output &) = delete;

    void add(const std::string &text) {
        kept_ += text;
        if (kept_.size() > output_limit)
            flush();
    }
    void flush() {
        for (size_t done = 0; done < kept_.size();) {
            const ssize_t length = write(STDOUT_FILENO, kept_.data() + done, kept_.size() - done);
            if (length < 0 && errno != EINTR)
                throw input_error(std::string("standard output: ") + std::strerror(errno));
            done += length > 0 ? static_cast<size_t>(length) : 0;
        }
        kept_.clear();
    }

private:
    std::string kept_;
};

// Looks at texts alone: json-c ends a member's name at a NUL.
bool holds_nul(json_object *value) {
    if (json_object_is_type(value, json_type_string))
        return text_of(value).find('\0') != std::string_view::npos;
    bool found = false;
    for (size_t at = 0; json_object_is_type(value, json_type_array) && at < json_object_array_length(value);
         ++at)
        found = found || holds_nul(json_object_array_get_idx(value, at));
    if (!json_object_is_type(value, json_type_object))
        return found;
    json_object_object_foreach(value, name, member) {
        static_cast<void>(name);
        found = found || holds_nul(member);
    }
    return found;
}

class stream {
public:
    stream(rehearsal &stage, const plan_options &chosen) : stage_(stage), chosen_(chosen) {
        if (chosen.request)
            request_ = read_request(*chosen.request, repeated_);
        route_of(chosen.route);
    }

    stream_sum run() {
        line_reader input(STDIN_FILENO, line_limit);
        for (size_t number = 1;; ++number) {
            if (input.may_wait())
                out_.flush();
            std::string_view line;
            const line_reader::result got = input.next(line);
            if (got == line_reader::result::end)
                break;
            if (got == line_reader::result::too_long)
                refuse(number, "", "longer than " + std::to_string(line_limit) + " bytes");
            else if (line.find_first_not_of(" \t\r") != std::string_view::npos)
                answer(number, line);
        }
        out_.flush();
        return sum_;
    }

private:
    void answer(size_t number, std::string_view line) {
        std::string id;
        try {
            const json_owner object = parse_json(line, json_use::device);
            id = id_of(object.get());
            const snapshot device = from_json(object.get());
            const route &asked = route_of(route_name(object.get()));
            request_plan made =
                make_plan(stage_, device, asked, request_of(object.get()), !chosen_.without_keys);
            tell_repeated(made, repeated_, chosen_.checking);
            tell(made);
            ++sum_.lines;
        } catch (const input_error &problem) {
            refuse(number, id, problem.what());
        }
    }

    static std::string id_of(json_object *object) {
        json_object *id = nullptr;
        const bool has_id =
            json_object_is_type(object, json_type_object) && json_object_object_get_ex(object, "id", &id);
        return has_id ? json_object_to_json_string_ext(id, JSON_C_TO_STRING_PLAIN) : "";
    }

    std::string route_name(json_object *object) const {
        json_object *own = nullptr;
        if (!json_object_object_get_ex(object, "route", &own))
            return chosen_.route;
        if (!json_object_is_type(own, json_type_string))
            throw input_error("\"route\" must be a string");
        return std::string(text_of(own));
    }

    json_object *request_of(json_object *object) const {
        json_object *own = nullptr;
        const bool has_own = json_object_object_get_ex(object, "request", &own) != 0;
        if (has_own && request_)
            throw input_error("\"request\" stands in the line and on the command line");
        if (!has_own && !request_)
            throw input_error("\"request\" is missing, in the line and on the command line");
        if (has_own && !json_object_is_type(own, json_type_object))
            throw input_error("\"request\" must be an object");
        if (has_own && holds_nul(own))
            throw input_error("\"request\" must not hold a NUL");
        return has_own ? own : request_.get();
    }

    const route &route_of(const std::string &name) {
        const auto known = routes_.find(name);
        return known != routes_.end() ? known->second : routes_.emplace(name, find_route(name)).first->second;
    }

    void tell(const request_plan &made) {
        for (const key_outcome &each : made.keys)
            sum_.found = sum_.found || is_finding(each.outcome);
        if (!chosen_.checking)
            out_.add(to_json(made) + "\n");
        else
            out_.add(chosen_.json ? findings_as_json(made) : findings_of(made));
    }

    void refuse(size_t number, const std::string &id, const std::string &reason) {
        ++sum_.lines;
        ++sum_.bad;
        std::string text = R"({"id": )" + (id.empty() ? "null" : id) + R"(, "error": )";
        append_json(text, "standard input, line " + std::to_string(number) + ": " + reason);
        out_.add(text + "}\n");
    }

    rehearsal &stage_;
    const plan_options &chosen_;
    json_owner request_;
    std::vector<std::string> repeated_; // members of it
    std::map<std::string, route> routes_;
    output out_;
    stream_sum sum_;
};

} // namespace

stream_sum run_stream(rehearsal &stage, const plan_options &chosen) { return stream(stage, chosen).run(); }

} // namespace plan

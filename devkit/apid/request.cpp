// SPDX-License-Identifier: Apache-2.0
// Reads requests. The HTTP library parses them; its parser is told nothing that the scanner has not passed.
#include "devkit/apid/request.h"

#include "devkit/apid/chunks.h"
#include "devkit/apid/text.h"

#include <algorithm>
#include <boost/beast/core/buffers_range.hpp>
#include <boost/beast/http/parser.hpp>
#include <charconv>
#include <cstdint>
#include <utility>

namespace apid {

namespace http = boost::beast::http;

namespace {

// What is told of a chunk's header. The library lets line feeds pass in a quoted extension, where others
// would end the line.
struct chunk_header {
    void operator()(std::uint64_t size, boost::beast::string_view extension,
                    boost::beast::error_code &error) {
        chunks.begin_data(size);
        if (has_control({extension.data(), extension.size()}))
            error = http::error::bad_chunk_extension;
    }

    chunk_scanner chunks;
};

// A body that takes the room of what has arrived. The library's own makes room for all that is announced,
// which costs a client nothing.
struct growing_body {
    using value_type = std::string;

    class reader {
    public:
        template <bool is_request, class fields>
        reader(http::header<is_request, fields> & /*head*/, value_type &body) : body_(body) {}

        static void init(const boost::optional<std::uint64_t> & /*length*/, boost::beast::error_code &error) {
            error = {};
        }

        template <class buffers>
        size_t put(const buffers &parts, boost::beast::error_code &error) {
            const size_t before = body_.size();
            for (const auto part : boost::beast::buffers_range_ref(parts))
                body_.append(static_cast<const char *>(part.data()), part.size());
            error = {};
            return body_.size() - before;
        }

        static void finish(boost::beast::error_code &error) { error = {}; }

    private:
        value_type &body_;
    };
};

} // namespace

struct request_reader::parser : http::request_parser<growing_body> {
    chunk_header header;
};

namespace {

constexpr size_t max_chunk_header = size_t{16} << 10; // bytes, the trailer's included
constexpr const char *chunk_header_too_long = "chunk header or trailer is too long";

std::string_view view(boost::beast::string_view text) { return {text.data(), text.size()}; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

std::optional<std::string> *slot_of(headers &known, http::field name) {
    switch (name) {
    case http::field::host:
        return &known.host;
    case http::field::origin:
        return &known.origin;
    case http::field::authorization:
        return &known.authorization;
    case http::field::content_type:
        return &known.content_type;
    case http::field::content_length:
        return &known.content_length;
    case http::field::transfer_encoding:
        return &known.transfer_encoding;
    case http::field::expect:
        return &known.expect;
    default:
        return nullptr;
    }
}

headers read_headers(const http::fields &fields) {
    headers known;
    for (const auto &field : fields) {
        if (auto *slot = slot_of(known, field.name())) {
            known.repeated = known.repeated || slot->has_value();
            *slot = view(field.value());
        }
    }
    return known;
}

// Whether the request line is one but for its version, which is none that is served.
bool has_other_version(std::string_view head) {
    const std::string_view line = head.substr(0, head.find('\r'));
    const std::string_view version = line.substr(line.rfind(' ') + 1);
    return std::count(line.begin(), line.end(), ' ') == 2 && version.size() == 8 &&
           version.starts_with("HTTP/") && is_digit(version[5]) && version[6] == '.' && is_digit(version[7]);
}

// The value of the first Content-Length, for a head that the parser gave up on because of one.
std::string_view content_length_of(std::string_view head) {
    constexpr std::string_view name = "\ncontent-length:";
    const auto same = [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a | 0x20 : a) == b; };
    const auto found = std::search(head.begin(), head.end(), name.begin(), name.end(), same);
    if (found == head.end())
        return "";
    std::string_view value(found + name.size(), head.end());
    value = value.substr(0, value.find('\r'));
    value.remove_prefix(std::min(value.find_first_not_of(" \t"), value.size()));
    return value.substr(0, value.find_last_not_of(" \t") + 1);
}

size_t length_of_empty_lines(std::string_view input) {
    size_t length = 0;
    while (input.substr(length).starts_with("\r\n"))
        length += 2;
    return length;
}

reply refuse_head(http::error why, std::string_view head) {
    if (why == http::error::bad_version && has_other_version(head))
        return error_reply(505, "neither HTTP/1.1 nor HTTP/1.0");
    if (why == http::error::bad_content_length && announces_too_much(content_length_of(head)))
        return refuse_size();
    return error_reply(400, "the request is malformed: " + make_error_code(why).message());
}

} // namespace

reply refuse_size() { return error_reply(413, "the body is larger than 1 MiB"); }

bool is_length(std::string_view content_length) {
    return !content_length.empty() && std::all_of(content_length.begin(), content_length.end(), is_digit);
}

bool announces_too_much(std::string_view content_length) {
    unsigned long long length = 0;
    if (!is_length(content_length))
        return false;
    const auto end = content_length.data() + content_length.size();
    return std::from_chars(content_length.data(), end, length).ec != std::errc() || length > max_body;
}

request_reader::request_reader() = default;
request_reader::~request_reader() = default;
request_reader::request_reader(request_reader &&) noexcept = default;

// Swaps, so that the memory of what was read goes with the other one.
request_reader &request_reader::operator=(request_reader &&other) noexcept {
    std::swap(scanner_, other.scanner_);
    std::swap(parser_, other.parser_);
    std::swap(request_, other.request_);
    std::swap(refusal_, other.refusal_);
    return *this;
}

request_reader::progress request_reader::read(std::string &input) {
    return parser_ == nullptr ? read_head(input) : read_body(input);
}

bool request_reader::wants_body() const { return parser_ != nullptr && !parser_->is_done(); }

size_t request_reader::received() const { return parser_ == nullptr ? 0 : parser_->get().body().size(); }

size_t request_reader::held() const {
    // What is known of a head is a part of it; so is the target that the parser keeps.
    return 2 * scanner_.length() + request_.body.capacity() +
           (parser_ == nullptr ? 0 : parser_->get().body().capacity());
}

request_reader::progress request_reader::refuse(reply why) {
    refusal_ = std::move(why);
    return progress::is_refused;
}

request_reader::progress request_reader::refuse_body(const std::string &why) {
    return refuse(error_reply(400, "the body is malformed: " + why));
}

request_reader::progress request_reader::read_head(std::string &input) {
    using verdict = head_scanner::verdict;
    // Some clients end a body with one line end too many.
    if (scanner_.length() == 0)
        input.erase(0, length_of_empty_lines(input));
    if (input == "\r")
        return progress::wants_more;
    switch (scanner_.scan(input)) {
    case verdict::incomplete:
        return progress::wants_more;
    case verdict::whole:
        break;
    case verdict::not_text:
        return refuse(error_reply(400, "a control character, or a line end other than CR LF, in the header"));
    case verdict::folded:
        return refuse(error_reply(400, "a header line begins with a blank"));
    case verdict::line_too_long:
        return refuse(error_reply(414, "the request line is longer than 32 KiB"));
    case verdict::too_long:
        return refuse(error_reply(431, "the header is larger than 32 KiB"));
    }
    const progress found = parse_head(std::string_view(input).substr(0, scanner_.length()));
    input.erase(0, scanner_.length());
    return found;
}

request_reader::progress request_reader::parse_head(std::string_view head) {
    parser_ = std::make_unique<parser>();
    parser_->on_chunk_header(parser_->header);
    parser_->header_limit(max_head);
    parser_->body_limit(UINT64_MAX); // what is announced is judged with the rest of the header
    boost::beast::error_code error;
    parser_->put({head.data(), head.size()}, error);
    if (error)
        return refuse(refuse_head(static_cast<http::error>(error.value()), head));
    parser_->body_limit(max_body);
    parser_->eager(true);

    const auto &message = parser_->get();
    const std::string_view target = view(message.target());
    const size_t question = target.find('?');
    request_.method = view(message.method_string());
    request_.path = decode_percent(target.substr(0, question));
    request_.query = question == std::string_view::npos ? "" : target.substr(question + 1);
    request_.is_http_1_1 = message.version() == 11;
    request_.keeps = request_.is_http_1_1 && parser_->keep_alive();
    request_.known = read_headers(message);
    parser_->get().clear(); // thousands of short fields take twenty times the room that they were sent in
    return progress::has_head;
}

request_reader::progress request_reader::read_body(std::string &input) {
    if (announces_too_much(request_.known.content_length.value_or("")))
        return refuse(refuse_size());
    std::string_view rest = input;
    while (wants_body() && !rest.empty()) {
        std::string_view part = next_part(rest);
        if (part.empty())
            break;
        if (put(part) == progress::is_refused)
            return progress::is_refused;
        rest = {part.end(), rest.end()};
    }
    if (is_at_chunk_header() && rest.size() > max_chunk_header)
        return refuse_body(chunk_header_too_long);
    input.erase(0, input.size() - rest.size());
    if (wants_body())
        return progress::wants_more;
    request_.body = std::move(parser_->get().body());
    return progress::is_whole;
}

bool request_reader::is_at_chunk_header() const {
    return wants_body() && parser_->chunked() && !parser_->header.chunks.is_in_data();
}

std::string_view request_reader::next_part(std::string_view input) const {
    return parser_->chunked() ? parser_->header.chunks.next_part(input) : input;
}

// The parser gets the headers of chunks whole: so it says the same of them whatever pieces they arrive in.
request_reader::progress request_reader::put(std::string_view &part) {
    const bool is_header = is_at_chunk_header();
    if (is_header && part.size() > max_chunk_header)
        return refuse_body(chunk_header_too_long);
    boost::beast::error_code error;
    part = part.substr(0, parser_->put({part.data(), part.size()}, error));
    if (error == http::error::body_limit)
        return refuse(refuse_size());
    if (error == http::error::need_more && is_header) // an extension has a quote that is not closed
        error = http::error::bad_chunk_extension;
    if (error && error != http::error::need_more)
        return refuse_body(error.message());
    if (parser_->chunked() && !is_header)
        parser_->header.chunks.skip_data(part.size());
    return progress::wants_more;
}

} // namespace apid

#ifndef WKAGENT_COMPONENTS_MAIL_SMTP_TRANSPORT_H
#define WKAGENT_COMPONENTS_MAIL_SMTP_TRANSPORT_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace wkagent::components {

// What goes to a mail server.
struct Envelope {
  std::string server;  // a name or an address, with ":port" where that is not 25
  std::string from;
  std::vector<std::string> recipients;
  std::string message;
};

// Who follows a transfer, on the thread that makes it.
struct Follower {
  std::function<void(std::string_view line)> answer;  // for each line that the server says
  std::function<bool(std::size_t sent)> goesOn;       // several times a second; false breaks it off
};

// What a server may cost.
struct Limits {
  std::chrono::milliseconds time = std::chrono::seconds(30);  // in all, its good-bye included
  std::size_t answers = 64 * 1024;                            // bytes of lines that it says
};

// Hands a message to a mail server by SMTP (RFC 5321), with STARTTLS when the server offers it. Its
// certificate is not verified then: who could forge it could as well take the offer away. Returns
// libcurl's code, 0 for success; `error` then tells what is wrong.
[[nodiscard]] int SendBySmtp(const Envelope& envelope, const Follower& follower, std::string& error,
                             const Limits& limits = {});

}  // namespace wkagent::components

#endif  // WKAGENT_COMPONENTS_MAIL_SMTP_TRANSPORT_H

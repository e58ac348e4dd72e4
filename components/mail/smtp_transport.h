#ifndef WKAGENT_COMPONENTS_MAIL_SMTP_TRANSPORT_H
#define WKAGENT_COMPONENTS_MAIL_SMTP_TRANSPORT_H

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

// Hands a message to a mail server by SMTP (RFC 5321), with STARTTLS when the server offers it. Its
// certificate is not verified then: who could forge it could as well take the offer away. `answer`
// is called for each line that the server says. Returns libcurl's code, 0 for success; `error` then
// tells what is wrong. Waits 30 seconds at most.
[[nodiscard]] int SendBySmtp(const Envelope& envelope,
                             const std::function<void(std::string_view line)>& answer,
                             std::string& error);

}  // namespace wkagent::components

#endif  // WKAGENT_COMPONENTS_MAIL_SMTP_TRANSPORT_H

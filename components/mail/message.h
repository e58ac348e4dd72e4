#ifndef WKAGENT_COMPONENTS_MAIL_MESSAGE_H
#define WKAGENT_COMPONENTS_MAIL_MESSAGE_H

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

namespace wkagent::components {

// What a mail is made of, as the host gives it.
struct Mail {
  std::string server;
  std::string from;
  std::string to;
  std::string cc;
  std::string subject;
  std::string text;
};

// The addresses of a list, which is split at "," and ";": each without the blanks around it, and of
// "Name <address>" the address. Control characters count as blanks, so that none begins a line of
// its own.
[[nodiscard]] std::vector<std::string> SplitAddresses(std::string_view list);

// True when an address may stand in an SMTP envelope (RFC 5321).
[[nodiscard]] bool IsAddress(std::string_view address);

// What a text gives in a header: as it is, or in encoded words (RFC 2047) where it is not ASCII.
// Each line of it, the first with `used` characters before it, is at most 76 characters long.
[[nodiscard]] std::string EncodeHeader(std::string_view text, std::size_t used);

// A body in UTF-8 as quoted-printable text (RFC 2045), its lines at most 76 characters long.
[[nodiscard]] std::string EncodeBody(std::string_view text);

// The whole message (RFC 5322). `id` is what makes the Message-ID unique, `host` the machine.
[[nodiscard]] std::string BuildMessage(const Mail& mail, std::time_t now, const std::string& id,
                                       const std::string& host);

}  // namespace wkagent::components

#endif  // WKAGENT_COMPONENTS_MAIL_MESSAGE_H

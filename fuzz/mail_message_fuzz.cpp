// Sender, recipients, copies, subject and text of a mail, a zero byte behind each.

#include "components/mail/message.h"

#include "fuzz/fuzz.h"

namespace wkagent::fuzz {
namespace {

std::string TakeLine(std::string& rest) {
  const std::size_t end = rest.find("\r\n");
  Require(end != std::string::npos, "each line ends with CR LF");
  const std::string line = rest.substr(0, end);
  rest.erase(0, end + 2);
  Require(line.find_first_of("\r\n") == std::string::npos, "no line holds half a line end");
  Require(line.size() <= 998, "no line is longer than the standard allows");
  return line;
}

// Quoted-printable text (RFC 2045).
std::string Decoded(std::string rest) {
  std::string text;
  while (!rest.empty()) {
    std::string line = TakeLine(rest);
    const bool soft = line.ends_with('=');
    if (soft) line.pop_back();
    for (std::size_t at = 0; (at = line.find('=', at)) != std::string::npos; ++at) {
      line.replace(at, 3, 1, static_cast<char>(std::stoi(line.substr(at + 1, 2), nullptr, 16)));
    }
    text += soft ? line : line + '\n';
  }
  return text;
}

}  // namespace
}  // namespace wkagent::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace wkagent::fuzz;
  Parts parts(data, size);
  wkagent::components::Mail mail;
  for (auto* part : {&mail.from, &mail.to, &mail.cc, &mail.subject}) *part = parts.Next();
  mail.text = parts.Rest();
  std::string rest = wkagent::components::BuildMessage(mail, 1795219199, "id", "host");
  std::string names;
  for (std::string line; !(line = TakeLine(rest)).empty();) {
    if (line[0] != ' ') names += line.substr(0, line.find(':')) + ' ';
  }
  std::string plain = mail.text;
  for (std::size_t at = 0; (at = plain.find("\r\n", at)) != plain.npos;) plain.erase(at, 1);
  const bool hasCopies = !wkagent::components::SplitAddresses(mail.cc).empty();
  Require(
      names == std::string("Date Message-ID From To ") + (hasCopies ? "Cc " : "") +
                   "Subject Auto-Submitted MIME-Version Content-Type Content-Transfer-Encoding ",
      "the headers are those that were given");
  Require(Decoded(rest) == plain + '\n', "the text comes back");
  return 0;
}

#ifndef WKAGENT_TESTS_COMPONENTS_MAIL_SERVER_H
#define WKAGENT_TESTS_COMPONENTS_MAIL_SERVER_H

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/wait_until.h"

namespace wkagent::test {

// An SMTP server of the test's own on loopback (mail_server.py). It ends with the object.
class MailServer {
 public:
  // Keeps its files in `folder`, which exists and is empty. Offers STARTTLS when it is given the
  // paths of a certificate and its key.
  explicit MailServer(std::string folder, const std::vector<std::string>& certificate = {})
      : folder_(std::move(folder)), process_(Command(certificate)) {
    if (!WaitUntil([this] { return std::filesystem::exists(folder_ + "/port"); })) {
      throw std::runtime_error("the mail server does not start: " + process_.Errors());
    }
  }

  // Where it listens, "127.0.0.1:PORT".
  [[nodiscard]] std::string Address() const { return "127.0.0.1:" + Read("port"); }

  // Waits for the mail of this number, which begins with 1; false where it never comes.
  [[nodiscard]] bool WaitForMail(int number) const {
    return WaitUntil([&] { return std::filesystem::exists(PathOf(number, "envelope")); });
  }

  [[nodiscard]] bool HasMail(int number) const {
    return std::filesystem::exists(PathOf(number, "envelope"));
  }

  // The sender and the recipients, a line each.
  [[nodiscard]] std::string Envelope(int number) const {
    return Read(std::to_string(number) + ".envelope");
  }

  // The message as it came.
  [[nodiscard]] std::string Message(int number) const {
    return Read(std::to_string(number) + ".eml");
  }

  // A header of the message, unfolded and decoded by another library; or the text, for "".
  [[nodiscard]] std::string Decoded(int number, const std::string& header) const {
    static constexpr char kScript[] =
        "import email, email.policy, sys\n"
        "mail = email.message_from_binary_file(open(sys.argv[1], 'rb'), "
        "policy=email.policy.default)\n"
        "text = mail[sys.argv[2]] if sys.argv[2] else mail.get_content()\n"
        "sys.stdout.buffer.write(('' if text is None else str(text)).encode())\n";
    return OutputOf({WKAGENT_PYTHON, "-c", kScript, PathOf(number, "eml"), header});
  }

 private:
  [[nodiscard]] std::vector<std::string> Command(const std::vector<std::string>& more) const {
    std::vector<std::string> command = {
        WKAGENT_PYTHON, WKAGENT_SOURCE_DIR "/tests/components/mail_server.py", folder_};
    command.insert(command.end(), more.begin(), more.end());
    return command;
  }

  [[nodiscard]] std::string PathOf(int number, const std::string& kind) const {
    return folder_ + "/" + std::to_string(number) + "." + kind;
  }

  [[nodiscard]] std::string Read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(folder_ + "/" + name, std::ios::binary).rdbuf();
    return text.str();
  }

  const std::string folder_;
  Process process_;
};

}  // namespace wkagent::test

#endif  // WKAGENT_TESTS_COMPONENTS_MAIL_SERVER_H

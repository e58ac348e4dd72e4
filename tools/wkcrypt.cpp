// wkcrypt: encrypts and decrypts settings files, as the agents do.

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <unistd.h>

#include <wkagent/config.h>
#include <wkagent/crypto.h>
#include <wkagent/version.h>

#include "core/handles.h"
#include "core/utf8.h"
#include "tools/replaced_file.h"

namespace {

enum ExitStatus : int {  // the numbers of sysexits(3)
  kDone = 0,
  kUsageError = 64,
  kWrongData = 65,
  kInputMissing = 66,
  kInternalError = 70,
  kOutputFailed = 73,
  kBadConfiguration = 78,
};

constexpr char kFooter[] =
    "The key is the first 16 characters of the workspace's GUID. Given by --guid it can be seen "
    "in\n"
    "the list of processes; --settings takes it from the agent's own file. OUT is written as a\n"
    "whole or not at all, readable for its owner alone.\n\n"
    "Exit status: 0 done, 64 wrong usage, 65 IN cannot be decrypted with this key, 66 IN cannot "
    "be\n"
    "read, 70 internal error, 73 OUT cannot be written, 78 bad settings file.";

constexpr std::size_t kKeyCharacters = 16;
constexpr std::size_t kSizeStep = 32;  // of encrypted files
constexpr std::size_t kBlock = 16;     // what the cipher takes at once

// Ends the program with this status and this message.
class Failure : public std::runtime_error {
 public:
  Failure(ExitStatus status, const std::string& message)
      : std::runtime_error(message), status_(status) {}
  [[nodiscard]] ExitStatus Status() const { return status_; }

 private:
  ExitStatus status_;
};

struct Options {
  std::string command;
  std::string in;
  std::string out;
  std::string guid;
  std::string settings;
  bool force = false;
};

void Warn(const std::string& message) { std::cerr << "wkcrypt: warning: " << message << '\n'; }

std::string ReadIn(const std::string& path) {
  const wkagent::Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  std::string bytes;
  char block[4096];
  ssize_t length = file.IsOpen() ? 0 : -1;
  while (length >= 0 && (length = read(file.Get(), block, sizeof(block))) > 0) {
    bytes.append(block, static_cast<std::size_t>(length));
  }
  if (length < 0) throw Failure(kInputMissing, path + ": " + std::strerror(errno));
  return bytes;
}

// The workspace's GUID in the daemon settings.
std::string GuidIn(const std::string& path) {
  WKDaemonSettings settings;
  settings.InitializeLogMessage([](int, char*, char*) {});  // GetReadError says it all
  std::string file = path;
  if (settings.ReadFile(file.data()) != 0) {
    throw Failure(kBadConfiguration, settings.GetReadError());
  }
  settings.ReadDaemonTags(settings.GetXMLRootNode());
  std::string guid = settings.GetWorkspaceGuid();
  if (guid.empty()) throw Failure(kBadConfiguration, path + ": has no WorkspaceGuid");
  return guid;
}

std::string KeyText(const Options& options) {
  std::string text = options.settings.empty() ? options.guid : GuidIn(options.settings);
  if (text.size() < kKeyCharacters) {
    Warn("the key has " + std::to_string(text.size()) + " characters of " +
         std::to_string(kKeyCharacters));
  }
  return text;
}

// The next size at which nothing is lost, 0 where there is none.
std::size_t NextSafeSize(std::size_t size) {
  constexpr std::size_t kNearest = 256;
  for (std::size_t next = size; next < size + kNearest; ++next) {
    if (CRijndael::EncryptionLoses(next) == 0) return next;
  }
  return 0;
}

// Tells what of a text the format cannot bring back.
void WarnOfLosses(const std::string& path, std::string_view text) {
  for (const auto& [character, name] : {std::pair(';', "\";\""), std::pair('\0', "zero byte")}) {
    const std::size_t place = text.find(character);
    if (place == std::string_view::npos) continue;
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<long>(place), '\n');
    Warn(path + ":" + std::to_string(line) + ": holds a " + name +
         ", and all that follows is lost");
  }
  const std::size_t lost = CRijndael::EncryptionLoses(text.size());
  if (lost == 0) return;
  const std::size_t safe = NextSafeSize(text.size());
  Warn(path + ": " + std::to_string(text.size()) + " is a size at which the format drops the " +
       (lost == 1 ? "end marker, so that bytes without meaning may follow the text"
                  : "last " + std::to_string(lost - 1) + " characters") +
       (safe != 0 ? "; line ends that fill it up to " + std::to_string(safe) + " mend that"
                  : "; no larger size is safe"));
}

std::string Encrypted(const Options& options, const std::string& keyText) {
  const std::string text = ReadIn(options.in);
  WarnOfLosses(options.in, text);
  return CRijndael().EncryptSettings(text, keyText.c_str());
}

// Where the first byte stands that no XML file in UTF-8 has; the size where there is none.
std::size_t EndOfText(std::string_view bytes) {
  std::size_t end = 0;
  while (end < bytes.size()) {
    const wkagent::Utf8Character character = wkagent::FirstCharacter(bytes.substr(end));
    if (character.length == 0 || !wkagent::AllowedInXml(character.code)) break;
    end += character.length;
  }
  return end;
}

std::string Decrypted(const Options& options, const std::string& keyText) {
  const std::string encrypted = ReadIn(options.in);
  if (encrypted.empty() || encrypted.size() % kSizeStep != 0) {
    throw Failure(kWrongData, options.in + ": is no encrypted settings file: its size, " +
                                  std::to_string(encrypted.size()) + ", is no multiple of 32");
  }
  CRijndael cipher;
  std::string text = cipher.DecryptSettings(encrypted, keyText.c_str());
  // A text that came back whole gives the same bytes again. Damage and the wrong key are seen only
  // in that they do not give text.
  const bool isWhole = cipher.EncryptSettings(text, keyText.c_str()) == encrypted &&
                       CRijndael::EncryptionLoses(text.size()) == 0;
  const std::size_t end = EndOfText(text);
  if (isWhole && end == text.size()) return text;
  if (end < std::min(text.size(), kBlock) || text.empty()) {
    throw Failure(kWrongData, options.in +
                                  ": cannot be decrypted with this key; it is damaged, or the "
                                  "GUID is that of another workspace");
  }
  Warn(options.in +
       ": the text may not be whole: it held what encryption cannot bring back, or the file is "
       "damaged");
  return text;
}

void Run(const Options& options) {
  const auto existing = options.force ? wkagent::Existing::kReplace : wkagent::Existing::kKeep;
  const std::string reason = wkagent::ReasonNotToWrite(options.out, existing);
  if (!reason.empty()) throw Failure(kOutputFailed, options.out + ": " + reason);
  const std::string keyText = KeyText(options);
  const std::string bytes =
      options.command == "encrypt" ? Encrypted(options, keyText) : Decrypted(options, keyText);
  try {
    wkagent::WriteWhole(options.out, bytes, existing);
  } catch (const std::runtime_error& error) {
    throw Failure(kOutputFailed, options.out + ": " + error.what());
  }
}

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("COMMAND", options.command, "encrypt or decrypt")
      ->required()
      ->type_name("")
      ->check(CLI::IsMember({"encrypt", "decrypt"}));
  app.add_option("IN", options.in, "The file to read")->required()->type_name("");
  app.add_option("OUT", options.out, "The file to write")->required()->type_name("");
  auto* const guid = app.add_option("--guid", options.guid, "The workspace's GUID");
  auto* const settings = app.add_option("--settings", options.settings,
                                        "The agent's DaemonSettings.xml, which has it");
  guid->type_name("GUID")->excludes(settings);
  settings->type_name("FILE");
  app.add_flag("--force", options.force, "Replace OUT where it exists");
}

int ParseAndRun(int argc, char** argv) {
  CLI::App app("Encrypts and decrypts the settings files of the agents' alerts.", "wkcrypt");
  Options options;
  app.footer(kFooter);
  app.set_version_flag("--version", "wkcrypt " WKAGENT_VERSION);
  AddOptions(app, options);
  try {
    app.parse(argc, argv);
    if (options.guid.empty() && options.settings.empty()) {
      throw CLI::RequiredError("--guid or --settings");
    }
  } catch (const CLI::ParseError& error) {
    return app.exit(error, std::cout, std::cerr) == 0 ? kDone : kUsageError;
  }
  Run(options);
  return kDone;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return ParseAndRun(argc, argv);
  } catch (const Failure& failure) {
    std::cerr << "wkcrypt: " << failure.what() << '\n';
    return failure.Status();
  } catch (const std::exception& error) {
    std::cerr << "wkcrypt: " << error.what() << '\n';
    return kInternalError;
  }
}

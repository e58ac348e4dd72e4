#include "components/mail/message.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace wkagent::components {
namespace {

constexpr std::size_t kLongestLine = 76;
constexpr std::size_t kLongestAddress = 254;
constexpr char kEndOfLine[] = "\r\n";

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

std::string_view WithoutBlanks(std::string_view text) {
  while (text.starts_with(' ')) text.remove_prefix(1);
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

std::string WithoutControls(std::string_view text) {
  std::string clean(text);
  for (char& c : clean) {
    if (IsControl(c)) c = ' ';
  }
  return clean;
}

bool IsAscii(std::string_view text) {
  for (const char c : text) {
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  }
  return true;
}

std::string Hex(char c) {
  std::array<char, 3> digits{};
  std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned char>(c));
  return digits.data();
}

// The number of bytes of the UTF-8 character that begins with this one; 1 for what is none.
std::size_t CharacterLength(char start) {
  const auto first = static_cast<unsigned char>(start);
  return first < 0xC0 ? 1 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// One character in the "Q" encoding of RFC 2047.
std::string EncodeQ(std::string_view character) {
  std::string encoded;
  for (const char c : character) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    if (plain) {
      encoded += c;
    } else {
      encoded += c == ' ' ? std::string("_") : '=' + Hex(c);
    }
  }
  return encoded;
}

std::string FormatDate(std::time_t now) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm local{};
  tzset();  // which localtime_r(3) need not do
  localtime_r(&now, &local);
  // Not by strftime, whose names follow the locale.
  std::array<char, 64> text{};
  const long offset = local.tm_gmtoff / 60;
  std::snprintf(text.data(), text.size(), "%s, %02d %s %d %02d:%02d:%02d %c%02ld%02ld",
                kDays[local.tm_wday], local.tm_mday, kMonths[local.tm_mon], local.tm_year + 1900,
                local.tm_hour, local.tm_min, local.tm_sec, offset < 0 ? '-' : '+',
                std::labs(offset) / 60, std::labs(offset) % 60);
  return text.data();
}

// The header of a list; what is no address is left out, as it is of the envelope.
std::string AddressHeader(const std::string& name, std::string_view list) {
  std::string header = name + ": ";
  std::size_t used = header.size();
  bool first = true;
  for (const std::string& address : SplitAddresses(list)) {
    if (!IsAddress(address)) continue;
    if (!first) {
      header += ',';
      const bool fits = used + address.size() + 2 <= kLongestLine;
      header += fits ? " " : "\r\n ";
      used = fits ? used + 2 : 1;
    }
    header += address;
    used += address.size();
    first = false;
  }
  return header + kEndOfLine;
}

}  // namespace

std::vector<std::string> SplitAddresses(std::string_view list) {
  const std::string clean = WithoutControls(list);
  std::vector<std::string> addresses;
  for (std::string_view rest = clean; !rest.empty();) {
    const std::size_t end = std::min(rest.find_first_of(",;"), rest.size());
    std::string_view address = WithoutBlanks(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (const std::size_t angle = address.find('<');
        angle != std::string_view::npos && address.ends_with('>')) {
      address = WithoutBlanks(address.substr(angle + 1, address.size() - angle - 2));
    }
    if (!address.empty()) addresses.emplace_back(address);
  }
  return addresses;
}

bool IsAddress(std::string_view address) {
  const std::size_t at = address.rfind('@');
  return at != std::string_view::npos && at > 0 && at + 1 < address.size() &&
         address.size() <= kLongestAddress &&
         address.find_first_of(" <>()[]:,;\\\"") == std::string_view::npos && IsAscii(address) &&
         std::none_of(address.begin(), address.end(), IsControl);
}

std::string EncodeHeader(std::string_view text, std::size_t used) {
  std::string clean = WithoutControls(text);
  const bool looksEncoded = clean.find("=?") != std::string::npos;
  if (IsAscii(clean) && !looksEncoded && used + clean.size() <= kLongestLine) return clean;
  constexpr std::string_view kStart = "=?UTF-8?Q?";
  constexpr std::string_view kEnd = "?=";
  std::string header(kStart);
  std::size_t column = used + kStart.size();
  for (std::size_t at = 0; at < clean.size();) {
    const std::string character = clean.substr(at, CharacterLength(clean[at]));  // never divided
    const std::string encoded = EncodeQ(character);
    at += character.size();
    if (column + encoded.size() + kEnd.size() > kLongestLine) {
      header.append(kEnd).append("\r\n ").append(kStart);
      column = 1 + kStart.size();
    }
    header += encoded;
    column += encoded.size();
  }
  return header.append(kEnd);
}

std::string EncodeBody(std::string_view text) {
  std::string body;
  std::size_t column = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    if (c == '\n') {
      body += kEndOfLine;
      column = 0;
      continue;
    }
    const bool last = i + 1 == text.size() || text[i + 1] == '\n' || text[i + 1] == '\r';
    const bool blank = (c == ' ' || c == '\t') && !last;
    const bool plain = blank || (c > ' ' && c < 0x7F && c != '=');
    const std::string encoded = plain ? std::string(1, c) : '=' + Hex(c);
    if (column + encoded.size() > kLongestLine - 1) {
      body += "=\r\n";
      column = 0;
    }
    body += encoded;
    column += encoded.size();
  }
  return body + kEndOfLine;
}

std::string BuildMessage(const Mail& mail, std::time_t now, const std::string& id,
                         const std::string& host) {
  std::string message = "Date: " + FormatDate(now) + kEndOfLine;
  message += "Message-ID: <" + id + '@' + host + '>' + kEndOfLine;
  message += AddressHeader("From", mail.from);
  message += AddressHeader("To", mail.to);
  if (!SplitAddresses(mail.cc).empty()) message += AddressHeader("Cc", mail.cc);
  constexpr std::string_view kSubject = "Subject: ";
  message.append(kSubject).append(EncodeHeader(mail.subject, kSubject.size())).append(kEndOfLine);
  message +=
      "Auto-Submitted: auto-generated\r\n"
      "MIME-Version: 1.0\r\n"
      "Content-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n"
      "\r\n";
  return message + EncodeBody(mail.text);
}

}  // namespace wkagent::components

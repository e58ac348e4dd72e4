#ifndef WKAGENT_BENCHMARKS_CHANGE_LOG_H
#define WKAGENT_BENCHMARKS_CHANGE_LOG_H

#include <fstream>
#include <stdexcept>
#include <string>

namespace wkagent::bench {

// Writes a change log as a directory server's overlay does. Of twenty changes, fourteen replace a
// telephone number, two add a member to a group, and one each adds a person with a picture, changes
// a password, renames an entry and deletes one.
class ChangeLog {
 public:
  // The text of one change.
  [[nodiscard]] std::string Next() {
    ++number_;
    switch (number_ % 20) {
      case 0:
        return Record("add", Person());
      case 1:
        return Record("delete", "dn: " + Name() + "\nchangetype: delete\n");
      case 2:
        return Record("modrdn", "dn: " + Name() + "\nchangetype: modrdn\nnewrdn: cn=" + User() +
                                    "b\ndeleteoldrdn: 1\n");
      case 3:
        return Record("modify", Modify("replace", "userPassword", ":e1NTSEF9bm90IGEgaGFzaA=="));
      case 4:
      case 5:
        return Record("modify", Modify("add", "member", " " + Name()));
      default:
        return Record("modify", Modify("replace", "telephoneNumber", " +1 555 " + Digits(7)));
    }
  }

 private:
  [[nodiscard]] std::string Digits(std::size_t count) const {
    const std::string digits = std::to_string(number_);
    return std::string(count - digits.size(), '0') + digits;
  }
  [[nodiscard]] std::string User() const { return "user" + std::to_string(number_ % 5000); }
  [[nodiscard]] std::string Name() const { return "cn=" + User() + ",ou=sales,o=acme"; }
  [[nodiscard]] std::string Csn() const {
    return "20261120204603." + Digits(7).substr(1) + "Z#000000#000#000000\n";
  }

  [[nodiscard]] std::string Record(const std::string& change, const std::string& lines) const {
    const std::string mark = change + " " + std::to_string(1795207563 + number_ / 50);
    return "# " + mark + " o=acme cn=admin,o=acme IP=192.0.2." + std::to_string(number_ % 250) +
           ":35568 conn=" + std::to_string(1000 + number_ / 20) + "\n" + lines + "# end " + mark +
           "\n\n";
  }

  [[nodiscard]] std::string Modify(const std::string& operation, const std::string& attribute,
                                   const std::string& value) const {
    return "dn: " + Name() + "\nchangetype: modify\n" + operation + ": " + attribute + "\n" +
           attribute + ":" + value + "\n-\nreplace: entryCSN\nentryCSN: " + Csn() +
           "-\nreplace: modifiersName\nmodifiersName: cn=admin,o=acme\n-\n"
           "replace: modifyTimestamp\nmodifyTimestamp: 20261120204603Z\n-\n";
  }

  [[nodiscard]] std::string Person() const {
    std::string lines = "dn: " + Name() +
                        "\nchangetype: add\nobjectClass: inetOrgPerson\ncn: " + User() +
                        "\nsn: Smith\nmail: " + User() + "@acme.example\njpegPhoto:: ";
    constexpr int kLines = 40;
    for (int i = 0; i < kLines; ++i)
      lines += std::string(76, static_cast<char>('A' + i % 26)) + "\n ";
    return lines +
           "AAAA\nstructuralObjectClass: inetOrgPerson\n"
           "entryUUID: 1f2e3d4c-0000-103b-8000-" +
           Digits(12) + "\ncreatorsName: cn=admin,o=acme\ncreateTimestamp: 20261120204603Z\n" +
           "entryCSN: " + Csn() +
           "modifiersName: cn=admin,o=acme\nmodifyTimestamp: 20261120204603Z\n";
  }

  long number_ = 0;
};

// A file of whole records, of at least so many bytes.
inline void WriteChangeLog(const std::string& path, long size) {
  std::ofstream file(path, std::ios::binary);
  ChangeLog log;
  for (long written = 0; written < size;) {
    const std::string text = log.Next();
    file << text;
    written += static_cast<long>(text.size());
  }
  if (!file.flush()) throw std::runtime_error("cannot write " + path);
}

}  // namespace wkagent::bench

#endif  // WKAGENT_BENCHMARKS_CHANGE_LOG_H

#include "crypto/cipher_vectors.h"

#include <fstream>
#include <map>
#include <stdexcept>
#include <utility>

#include <wkagent/crypto.h>

namespace wkagent::test {
namespace {

using Record = std::map<std::string, std::string>;

std::string Bytes(const std::string& hex) {
  std::string bytes;
  for (std::size_t at = 0; at < hex.size(); at += 2) {
    bytes.push_back(static_cast<char>(std::stoi(hex.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

int Mode(const std::string& name) {
  if (name == "ECB") return CRijndael::kEcb;
  if (name == "CBC") return CRijndael::kCbc;
  if (name == "CFB") return CRijndael::kCfb;
  throw std::runtime_error("no mode: " + name);
}

CipherVector ToVector(Record record) {
  const auto take = [&record](const char* field) {
    const auto node = record.extract(field);
    if (node.empty()) throw std::runtime_error(std::string("no field ") + field);
    return node.mapped();
  };
  CipherVector vector{take("Name"),         Mode(take("Mode")),   Bytes(take("Key")),
                      Bytes(take("Chain")), Bytes(take("Plain")), Bytes(take("Cipher"))};
  if (!record.empty()) throw std::runtime_error("nobody reads " + record.begin()->first);
  return vector;
}

}  // namespace

std::vector<CipherVector> ReadCipherVectors(const std::string& file) {
  std::ifstream lines(WKAGENT_SOURCE_DIR "/tests/crypto/data/" + file);
  std::vector<CipherVector> vectors;
  Record record;
  std::string field;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('#')) continue;
    if (const std::size_t equals = line.find(" = "); equals != line.npos) {
      field = line.substr(0, equals);
      record[field] = line.substr(equals + 3);
    } else if (line.starts_with(' ')) {
      record[field] += line.substr(line.find_first_not_of(' '));
    } else if (!record.empty()) {
      vectors.push_back(ToVector(std::exchange(record, {})));
    }
  }
  vectors.push_back(ToVector(record));
  return vectors;
}

}  // namespace wkagent::test

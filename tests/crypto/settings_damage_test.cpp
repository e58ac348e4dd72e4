// Files that are missing, cut off or foreign, and places that cannot be written.

#include <filesystem>
#include <random>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <wkagent/crypto.h>

#include "core/handles.h"
#include "crypto/settings_fixture.h"
#include "support/counted_heap.h"
#include "support/open_files.h"
#include "support/private_root.h"
#include "support/random_seed.h"
#include "support/unprivileged.h"

namespace wkagent::test {
namespace {

class SettingsDamage : public SettingsFiles {
 protected:
  // What WKEncryptFile throws for a plain path; empty where it throws nothing.
  static std::string Complaint(const std::string& path) {
    try {
      CRijndael().WKEncryptFile(Text(path), Text("../config/Settings.cfg"), Text(kGuid));
    } catch (const std::string& text) {
      return text;
    }
    return "";
  }

  [[nodiscard]] mode_t ModeOf(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(0, stat(home_.Path(name).c_str(), &status));
    return status.st_mode & 0777;
  }

  std::mt19937 random_{RandomSeed()};
  const std::string text_ = "<Settings>" + RandomText(random_, 600) + "</Settings>";
};

TEST_F(SettingsDamage, MissingPlainFileIsThrownAsAText) {
  EXPECT_EQ("../config/None.xml - XML File is Empty or File does not exists",
            Complaint("../config/None.xml"));
  EXPECT_FALSE(home_.Exists("config/Settings.cfg"));
}

TEST_F(SettingsDamage, PlainFileThatCannotBeReadLeavesTheOutput) {
  const std::string before = Encrypt(text_);
  std::filesystem::create_directory(home_.Path("config/Folder"));
  for (const char* path : {"../config/Folder", "../config/None/Settings.xml", ""}) {
    EXPECT_EQ(std::string(path) + " - XML File is Empty or File does not exists", Complaint(path));
  }
  EXPECT_EQ(before, home_.Read("config/Settings.cfg"));
}

TEST_F(SettingsDamage, PlainFileWithoutPermissionIsThrownAsAText) {
  home_.Write("config/Settings.xml", text_);
  std::filesystem::permissions(home_.Path(""), std::filesystem::perms(0755));
  std::filesystem::permissions(home_.Path("config/Settings.xml"), std::filesystem::perms::none);
  const Unprivileged user;
  EXPECT_EQ("../config/Settings.xml - XML File is Empty or File does not exists",
            Complaint("../config/Settings.xml"));
}

TEST_F(SettingsDamage, PipeHasNoSizeAndCannotBeRead) {
  int ends[2] = {};
  ASSERT_EQ(0, pipe(ends));
  const Fd reading(ends[0]);
  const Fd writing(ends[1]);
  const std::string path = "/proc/self/fd/" + std::to_string(reading.Get());
  EXPECT_EQ(path + " - XML File is Empty or File does not exists", Complaint(path));
  CRijndael().WKDecryptFile(Text(path), Text("../tmp/Settings.xml"), Text(kGuid));
  EXPECT_TRUE(home_.Exists("tmp/Settings.xml"));
  EXPECT_EQ("", home_.Read("tmp/Settings.xml"));
}

TEST_F(SettingsDamage, NullIsIgnored) {
  home_.Write("config/Settings.xml", text_);
  CRijndael cipher;
  cipher.WKEncryptFile(nullptr, Text("../config/Settings.cfg"), Text(kGuid));
  cipher.WKEncryptFile(Text("../config/Settings.xml"), nullptr, Text(kGuid));
  cipher.WKEncryptFile(Text("../config/Settings.xml"), Text("../config/Settings.cfg"), nullptr);
  cipher.WKDecryptFile(nullptr, Text("../tmp/Settings.xml"), Text(kGuid));
  cipher.WKDecryptFile(Text("../config/Settings.xml"), nullptr, Text(kGuid));
  cipher.WKDecryptFile(Text("../config/Settings.xml"), Text("../tmp/Settings.xml"), nullptr);
  EXPECT_FALSE(cipher.initialised);
  EXPECT_THAT(home_.List("config"), ::testing::ElementsAre("Settings.xml"));
  EXPECT_THAT(home_.List("tmp"), ::testing::IsEmpty());
}

TEST_F(SettingsDamage, MissingEncryptedFileGivesAnEmptyOne) {
  home_.Write("tmp/Settings.xml", "of an earlier time");
  DecryptFile();
  EXPECT_TRUE(home_.Exists("tmp/Settings.xml"));
  EXPECT_EQ("", home_.Read("tmp/Settings.xml"));
}

TEST_F(SettingsDamage, EncryptedFileThatCannotBeReadGivesAnEmptyOne) {
  home_.Write("tmp/Settings.xml", "of an earlier time");
  std::filesystem::create_directory(home_.Path("config/Settings.cfg"));
  DecryptFile();
  EXPECT_EQ("", home_.Read("tmp/Settings.xml"));
}

TEST_F(SettingsDamage, EmptyEncryptedFileGivesAnEmptyOne) {
  home_.Write("tmp/Settings.xml", "of an earlier time");
  EXPECT_EQ("", Decrypt(""));
}

TEST_F(SettingsDamage, FileCutOffAtAnyByteGivesWhatIsLeftOfIt) {
  const std::string encrypted = Encrypt(text_);
  for (std::size_t size = 0; size < encrypted.size(); ++size) {
    const std::string cut = encrypted.substr(0, size);
    ASSERT_EQ(ModelDecrypt(cut, kGuid), Decrypt(cut)) << size;
  }
}

TEST_F(SettingsDamage, ChangedByteHarmsItsBlockAlone) {
  const std::string plain(200, 'x');
  std::string encrypted = Encrypt(plain);
  encrypted[40] = static_cast<char>(encrypted[40] ^ 1);
  EXPECT_EQ(ModelDecrypt(encrypted, kGuid), Decrypt(encrypted));
  EXPECT_EQ(plain.substr(0, 32), Decrypt(encrypted).substr(0, 32));
  EXPECT_NE(plain.substr(32, 16), Decrypt(encrypted).substr(32, 16));
}

TEST_F(SettingsDamage, RandomBytesAreDecryptedAsInTheModel) {
  for (std::size_t size = 1; size < 1200; size += 7) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random_());
    ASSERT_EQ(ModelDecrypt(bytes, kGuid), Decrypt(bytes)) << size;
  }
}

TEST_F(SettingsDamage, WrongKeyGivesNothingOfTheText) {
  const std::string encrypted = Encrypt(text_);
  const std::string decrypted = Decrypt(encrypted, kOtherGuid);
  EXPECT_EQ(ModelDecrypt(encrypted, kOtherGuid), decrypted);
  EXPECT_THAT(decrypted, ::testing::Not(::testing::HasSubstr("<Settings>")));
}

TEST_F(SettingsDamage, OutputInNoFolderIsPassedOver) {
  Encrypt(text_);
  CRijndael cipher;
  for (const char* path : {"../none/Settings", "../tmp", ""}) {
    EXPECT_NO_THROW(cipher.WKEncryptFile(Text("../config/Settings.xml"), Text(path), Text(kGuid)));
    EXPECT_NO_THROW(cipher.WKDecryptFile(Text("../config/Settings.cfg"), Text(path), Text(kGuid)));
  }
  EXPECT_FALSE(home_.Exists("none"));
}

TEST_F(SettingsDamage, ReadOnlyFolderKeepsItsFiles) {
  const std::string before = Encrypt(text_);
  home_.Write("config/Settings.xml", "other");
  InPrivateRoot([this, &before] {
    MountReadOnly(home_.Path("config"));
    EncryptFile();
    EXPECT_EQ(before, home_.Read("config/Settings.cfg"));
  });
}

TEST_F(SettingsDamage, FullDiskTakesWhatFits) {
  const std::string large = RandomText(random_, 20'000);
  const std::string encrypted = Encrypt(large);
  InPrivateRoot([&] {
    MountTmpfs(home_.Path("tmp"), "size=8k");
    DecryptFile();
    EXPECT_EQ(ModelDecrypt(encrypted, kGuid).substr(0, 8192), home_.Read("tmp/Settings.xml"));
    CRijndael().WKEncryptFile(Text("../config/Settings.xml"), Text("../tmp/Settings.xml"),
                              Text(kGuid));
    EXPECT_EQ(encrypted.substr(0, 8192), home_.Read("tmp/Settings.xml"));
  });
}

TEST_F(SettingsDamage, DiskWithoutRoomForAFileIsPassedOver) {
  Encrypt(text_);
  InPrivateRoot([this] {
    MountTmpfs(home_.Path("tmp"), "nr_inodes=1");
    EXPECT_NO_THROW(DecryptFile());
    EXPECT_FALSE(home_.Exists("tmp/Settings.xml"));
  });
}

TEST_F(SettingsDamage, PlainFileIsForItsOwnerAlone) {
  const mode_t before = umask(022);
  Decrypt(Encrypt(text_));
  umask(before);
  EXPECT_EQ(0600U, ModeOf("tmp/Settings.xml"));
  std::filesystem::permissions(home_.Path("tmp/Settings.xml"), std::filesystem::perms(0640));
  DecryptFile();
  EXPECT_EQ(0640U, ModeOf("tmp/Settings.xml"));
}

TEST_F(SettingsDamage, EncryptedFileFollowsTheUmask) {
  const mode_t before = umask(027);
  Encrypt(text_);
  umask(before);
  EXPECT_EQ(0640U, ModeOf("config/Settings.cfg"));
}

TEST_F(SettingsDamage, FilesAreClosed) {
  Encrypt(text_);
  const long before = OpenFiles();
  EncryptFile();
  DecryptFile();
  Complaint("../config/None.xml");
  Complaint("../config");
  EXPECT_EQ(before, OpenFiles());
}

TEST_F(SettingsDamage, NoTextIsLeftInMemory) {
  const std::string secret = "<Password>of the mail server</Password>";
  home_.Write("config/Settings.xml", "<a>" + secret + "</a>");
  const LeftInMemory left(secret);
  EncryptFile();
  DecryptFile();
  EXPECT_EQ(0, LeftInMemory::count);
}

TEST_F(SettingsDamage, NoKeyIsLeftInMemory) {
  home_.Write("config/Settings.xml", text_);
  const LeftInMemory left("5F1C6B1E-9A3D-4C");
  EncryptFile();
  DecryptFile();
  EXPECT_EQ(0, LeftInMemory::count);
}

TEST_F(SettingsDamage, NothingIsLeftAllocated) {
  char plain[] = "../config/Settings.xml";
  char encrypted[] = "../config/Settings.cfg";
  char key[] = "key";
  Encrypt(text_);
  const long before = LiveBlocks();
  {
    CRijndael cipher;
    cipher.WKEncryptFile(plain, encrypted, key);
    cipher.WKDecryptFile(encrypted, plain, key);
  }
  const long after = LiveBlocks();
  EXPECT_EQ(before, after);
}

}  // namespace
}  // namespace wkagent::test

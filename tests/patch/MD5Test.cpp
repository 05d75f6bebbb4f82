#include "patch/MD5.h"

#include "tests/support/Tests.h"

namespace Vorn::Testing {
namespace {

using patch::MD5;

TEST(Md5, DigestsFiles) {
    const TempFolder folder;
    const Table<std::string, const char*> rows = {
        // Out of the suite of RFC 1321.
        {"", "d41d8cd98f00b204e9800998ecf8427e"},
        {"abc", "900150983cd24fb0d6963f7d28e17f72"},
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        // Ends of padding, block and read piece.
        {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
        {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
        {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
        {std::string(1024, 'a'), "c9a34cfc85d982698c6ac89f76071abd"},
        {std::string(1025, 'a'), "ae187e1febee2a150b64849c32d566ca"},
    };
    for (const auto& [content, expected] : rows) {
        const MD5 digest(std::fopen(folder.Write("content", content).c_str(), "rb"));
        EXPECT_STREQ(digest.hex_digest().get(), expected) << content.size() << " bytes";
    }
    const std::string text(300, 'a');
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        MD5 digest;
        digest.update(text.data(), cut);
        digest.update(text.data() + cut, text.size() - cut);
        digest.finalize();
        ASSERT_STREQ(digest.hex_digest().get(), "4e5475d125a33c6190718e75adc1b704") << cut;
    }
}

TEST(Md5, MisuseWritesALineAndDoesNothingElse) {
    MD5 digest;
    testing::internal::CaptureStderr();
    EXPECT_STREQ(digest.hex_digest().get(), "");
    digest.update("a", 1);
    digest.finalize();
    digest.update("b", 1);
    digest.finalize();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "MD5::hex_digest:  Can't get digest if you haven't finalized the digest!\n"
              "MD5::update:  Can't update a finalized digest!\n"
              "MD5::finalize:  Already finalized this digest!\n");
    EXPECT_STREQ(digest.hex_digest().get(), "0cc175b9c0f1b6a831c399e269772661");
}

}  // namespace
}  // namespace Vorn::Testing

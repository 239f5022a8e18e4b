#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "Y4mSource.h"

namespace vircamfeed {
namespace {

class Y4mSourceTest : public testing::Test {
protected:
    void SetUp() override {
        // TempDir: /tmp/ on a host, /data/local/tmp/ on a phone.
        std::string pattern = ::testing::TempDir() + "feed_y4m_XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(pattern.data()));
        mDir = pattern;
    }
    void TearDown() override {
        for (const auto& file : mFiles) {
            unlink(file.c_str());
        }
        rmdir(mDir.c_str());
    }

    std::string Write(const std::string& name, const std::string& bytes) {
        std::string path = mDir + "/" + name;
        FILE* file = fopen(path.c_str(), "wb");
        fwrite(bytes.data(), 1, bytes.size(), file);
        fclose(file);
        mFiles.push_back(path);
        return path;
    }

    std::string OpenError(const std::string& bytes) {
        std::string error;
        const std::string path = Write("bad.y4m", bytes);
        EXPECT_EQ(nullptr, Y4mSource::Open(path, error));
        return error.substr(error.find(": ") + 2);
    }

    std::string mDir;
    std::vector<std::string> mFiles;
};

// A 4x2 frame: luma 4x2, then U 2x1, then V 2x1.
std::string Frame(char base) {
    std::string planes;
    for (int i = 0; i < 8; ++i) {
        planes.push_back(static_cast<char>(base + i));
    }
    return "FRAME\n" + planes + static_cast<char>(base + 20) + static_cast<char>(base + 21) +
           static_cast<char>(base + 40) + static_cast<char>(base + 41);
}

std::vector<uint8_t> Bytes(std::initializer_list<int> values) {
    return std::vector<uint8_t>(values.begin(), values.end());
}

TEST_F(Y4mSourceTest, HeaderAndFrameErrorsAreNamed) {
    EXPECT_EQ("not a YUV4MPEG2 file", OpenError("RIFF W4 H2\n"));
    EXPECT_EQ("not a YUV4MPEG2 file", OpenError("YUV4MPEG2 W4 H2"));  // no end of line
    EXPECT_EQ("the header has no W or H", OpenError("YUV4MPEG2 W4 F30:1\n" + Frame(0)));
    EXPECT_EQ("bad width W0", OpenError("YUV4MPEG2 W0 H2\n"));
    EXPECT_EQ("bad height Hx", OpenError("YUV4MPEG2 W4 Hx\n"));
    EXPECT_EQ("chroma C422 is not planar 4:2:0", OpenError("YUV4MPEG2 W4 H2 C422\n" + Frame(0)));
    EXPECT_EQ("chroma Cmono is not planar 4:2:0", OpenError("YUV4MPEG2 W4 H2 Cmono\n" + Frame(0)));
    EXPECT_EQ("no frame", OpenError("YUV4MPEG2 W4 H2\n"));
    EXPECT_EQ("frame 1 is cut short", OpenError("YUV4MPEG2 W4 H2\n" + Frame(0) + Frame(1).substr(0, 10)));
    EXPECT_EQ("frame 1 does not start with FRAME", OpenError("YUV4MPEG2 W4 H2\n" + Frame(0) + "FRAMX\n"));
    EXPECT_EQ("bytes after the last frame", OpenError("YUV4MPEG2 W4 H2\n" + Frame(0) + "FRA"));
    std::string error;
    EXPECT_EQ(nullptr, Y4mSource::Open(mDir + "/missing.y4m", error));
    EXPECT_EQ(mDir + "/missing.y4m: No such file or directory", error);
}

TEST_F(Y4mSourceTest, SameSizeFramesAreCopiedIntoNv21AndLoop) {
    std::string error;
    auto source = Y4mSource::Open(
        Write("two.y4m", "YUV4MPEG2 W4 H2 F30:1 Ip A1:1 C420jpeg\n" + Frame(0) + "FRAME Ixyz\n" + Frame(100).substr(6)),
        error);
    ASSERT_NE(nullptr, source) << error;
    EXPECT_EQ(2u, source->FrameCount());
    EXPECT_EQ(4u, source->Width());
    std::vector<uint8_t> nv21(12);
    ASSERT_TRUE(source->Fill(nv21.data(), 4, 2, 4, 1));
    // Luma as it is, then V before U for each 2x2 block.
    EXPECT_EQ(Bytes({100, 101, 102, 103, 104, 105, 106, 107, 140, 120, 141, 121}), nv21);
    // Frames 4 and 5 of the feed are frames 0 and 1 of a two-frame file.
    ASSERT_TRUE(source->Fill(nv21.data(), 4, 2, 4, 4));
    EXPECT_EQ(Bytes({0, 1, 2, 3, 4, 5, 6, 7, 40, 20, 41, 21}), nv21);
    ASSERT_TRUE(source->Fill(nv21.data(), 4, 2, 4, 5));
    EXPECT_EQ(Bytes({100, 101, 102, 103, 104, 105, 106, 107, 140, 120, 141, 121}), nv21);
}

TEST_F(Y4mSourceTest, OtherSizesAreScaledNearestNeighbour) {
    std::string error;
    auto source = Y4mSource::Open(Write("one.y4m", "YUV4MPEG2 W4 H2\n" + Frame(0)), error);
    ASSERT_NE(nullptr, source) << error;
    // Twice as wide and high: every pixel and every chroma sample doubled both ways.
    std::vector<uint8_t> big(8 * 4 * 3 / 2);
    ASSERT_TRUE(source->Fill(big.data(), 8, 4, 8, 0));
    EXPECT_EQ(Bytes({0, 0, 1, 1, 2, 2, 3, 3,  0, 0, 1, 1, 2, 2, 3, 3,  4, 4, 5, 5, 6, 6, 7, 7,
                     4, 4, 5, 5, 6, 6, 7, 7,  40, 20, 40, 20, 41, 21, 41, 21,  40, 20, 40, 20, 41, 21, 41, 21}),
              big);
    // Half as wide: every other column; rows padded to a stride of 4 keep their padding.
    std::vector<uint8_t> small(4 * 2 * 3 / 2, 0xee);
    ASSERT_TRUE(source->Fill(small.data(), 2, 2, 4, 0));
    EXPECT_EQ(Bytes({0, 2, 0xee, 0xee, 4, 6, 0xee, 0xee, 40, 20, 0xee, 0xee}), small);
}

}  // namespace
}  // namespace vircamfeed

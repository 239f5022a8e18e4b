#include "Y4mSource.h"

#include <sys/stat.h>

#include <cstring>
#include <sstream>

#include "FeedOptions.h"

namespace vircamfeed {

namespace {

constexpr size_t MAX_HEADER_LINE = 1024;
constexpr uint32_t MAX_SIDE = 16384;

// One header line up to its '\n' (consumed); false when there is none within the limit.
bool ReadLine(FILE* file, std::string& line) {
    line.clear();
    for (int c = fgetc(file); c != EOF; c = fgetc(file)) {
        if (c == '\n') {
            return true;
        }
        if (line.size() == MAX_HEADER_LINE) {
            return false;
        }
        line.push_back(static_cast<char>(c));
    }
    return false;
}

size_t ChromaSide(uint32_t side) {
    return (side + 1) / 2;
}

}  // namespace

std::unique_ptr<Y4mSource> Y4mSource::Open(const std::string& path, std::string& error) {
    FILE* file = fopen(path.c_str(), "rb");
    if (file == nullptr) {
        error = path + ": " + std::strerror(errno);
        return nullptr;
    }
    auto fail = [&](const std::string& why) {
        error = path + ": " + why;
        fclose(file);
        return nullptr;
    };
    std::string line;
    if (!ReadLine(file, line) || line.compare(0, 10, "YUV4MPEG2 ") != 0) {
        return fail("not a YUV4MPEG2 file");
    }
    uint32_t width = 0;
    uint32_t height = 0;
    std::string chroma = "420jpeg";  // what a header without a C tag means
    std::istringstream tags(line.substr(10));
    for (std::string tag; tags >> tag;) {
        if (tag[0] == 'W' && !ParseCount(tag.c_str() + 1, 1, MAX_SIDE, width)) {
            return fail("bad width " + tag);
        }
        if (tag[0] == 'H' && !ParseCount(tag.c_str() + 1, 1, MAX_SIDE, height)) {
            return fail("bad height " + tag);
        }
        if (tag[0] == 'C') {
            chroma = tag.substr(1);
        }
    }
    if (width == 0 || height == 0) {
        return fail("the header has no W or H");
    }
    if (chroma != "420jpeg" && chroma != "420" && chroma != "420paldv" && chroma != "420mpeg2") {
        return fail("chroma C" + chroma + " is not planar 4:2:0");
    }
    std::unique_ptr<Y4mSource> source(new Y4mSource(file, width, height));
    const size_t frameBytes = size_t{width} * height + 2 * ChromaSide(width) * ChromaSide(height);
    source->mPlanes.resize(frameBytes);
    struct stat info = {};
    const long fileSize = fstat(fileno(file), &info) == 0 ? static_cast<long>(info.st_size) : 0;
    while (ReadLine(file, line)) {
        if (line.compare(0, 5, "FRAME") != 0) {
            error = path + ": frame " + std::to_string(source->FrameCount()) + " does not start with FRAME";
            return nullptr;
        }
        const long start = ftell(file);
        if (start < 0 || fileSize - start < static_cast<long>(frameBytes)) {
            error = path + ": frame " + std::to_string(source->FrameCount()) + " is cut short";
            return nullptr;
        }
        source->mFrameOffsets.push_back(start);
        if (fseek(file, static_cast<long>(frameBytes), SEEK_CUR) != 0) {
            error = path + ": cannot seek";
            return nullptr;
        }
    }
    if (!line.empty() || ftell(file) != fileSize) {
        error = path + ": bytes after the last frame";
        return nullptr;
    }
    if (source->FrameCount() == 0) {
        error = path + ": no frame";
        return nullptr;
    }
    return source;
}

Y4mSource::~Y4mSource() {
    fclose(mFile);
}

bool Y4mSource::ReadFrame(uint32_t index) {
    if (mPlanesFrame == index) {
        return true;
    }
    mPlanesFrame = -1;
    if (fseek(mFile, mFrameOffsets[index], SEEK_SET) != 0 ||
        fread(mPlanes.data(), 1, mPlanes.size(), mFile) != mPlanes.size()) {
        return false;
    }
    mPlanesFrame = index;
    return true;
}

bool Y4mSource::Fill(uint8_t* nv21, uint32_t width, uint32_t height, uint32_t stride, uint32_t number) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (!ReadFrame(number % FrameCount())) {
        return false;
    }
    // Nearest neighbour: destination pixel x takes source pixel x * sourceWidth / width,
    // which is x itself when the sizes match, so a same-size frame is copied unchanged.
    const uint8_t* luma = mPlanes.data();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* from = luma + size_t{y} * mHeight / height * mWidth;
        uint8_t* to = nv21 + size_t{y} * stride;
        for (uint32_t x = 0; x < width; ++x) {
            to[x] = from[size_t{x} * mWidth / width];
        }
    }
    const size_t sourceChromaWidth = ChromaSide(mWidth);
    const size_t sourceChromaHeight = ChromaSide(mHeight);
    // NV21 has one V/U pair for each 2x2 block of an even-sized image.
    const size_t chromaWidth = width / 2;
    const size_t chromaHeight = height / 2;
    const uint8_t* u = luma + size_t{mWidth} * mHeight;
    const uint8_t* v = u + sourceChromaWidth * sourceChromaHeight;
    uint8_t* vu = nv21 + size_t{stride} * height;
    for (size_t y = 0; y < chromaHeight && chromaWidth > 0; ++y) {
        const size_t row = y * sourceChromaHeight / chromaHeight * sourceChromaWidth;
        uint8_t* to = vu + y * stride;
        for (size_t x = 0; x < chromaWidth; ++x) {
            const size_t column = x * sourceChromaWidth / chromaWidth;
            // NV21 interleaves V first, then U.
            to[2 * x] = v[row + column];
            to[2 * x + 1] = u[row + column];
        }
    }
    return true;
}

}  // namespace vircamfeed

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

// Reads a fuzz input from the front, so seeds are easy to write by hand: integers are
// little-endian, strings are a length byte followed by that many bytes. Past the end
// every read answers zero or empty, so any input is a complete program.
class FuzzInput {
  public:
    FuzzInput(const uint8_t* data, size_t size) : mData(data), mSize(size) {}

    bool Empty() const { return mPos >= mSize; }

    uint8_t Byte() { return mPos < mSize ? mData[mPos++] : 0; }

    template <typename T>
    T Int() {
        uint8_t bytes[sizeof(T)] = {};
        for (size_t i = 0; i < sizeof(T); ++i) bytes[i] = Byte();
        T value;
        memcpy(&value, bytes, sizeof(T));
        return value;
    }

    bool Bool() { return (Byte() & 1) != 0; }

    std::string String() {
        size_t length = Byte();
        if (length > mSize - mPos) length = mSize - mPos;
        std::string text(reinterpret_cast<const char*>(mData + mPos), length);
        mPos += length;
        return text;
    }

    std::string Rest() {
        std::string text(reinterpret_cast<const char*>(mData + mPos), mSize - mPos);
        mPos = mSize;
        return text;
    }

  private:
    const uint8_t* mData;
    size_t mSize;
    size_t mPos = 0;
};

#pragma once
// Fixed-width text field of the display's file records: at most N 8-bit characters, padded
// on disk with the field's pad character.
//
// A value is taken up to the first NUL or N characters and loses its trailing pad
// characters, both when set and when read. Reading always moves the stream exactly N bytes
// on; errors show only in the stream's state.

#include "Stream.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

template <std::size_t N, char Pad>
class FixedText
{
public:
    static constexpr std::size_t kWidth = N;

    FixedText() = default;
    explicit FixedText(const std::string &value) { Set(value); }

    void Set(const char *value)
    {
        m_value.clear();
        if (value == nullptr)
            return;
        for (std::size_t i = 0; i < N && value[i] != '\0'; ++i)
            m_value += value[i];
        StripPad();
    }

    void Set(const std::string &value)
    {
        // A NUL inside the string ends the value, as it would in a character array.
        m_value.assign(value, 0, std::min({value.size(), N, std::strlen(value.c_str())}));
        StripPad();
    }

    const std::string &Value() const { return m_value; }
    bool IsEmpty() const { return m_value.empty(); }

    // Copies the value and a terminating NUL into buffer (of size bytes, at least 1).
    // Returns the number of characters copied.
    std::size_t CopyTo(char *buffer, std::size_t size) const
    {
        if (buffer == nullptr || size == 0)
            return 0;
        const std::size_t count = std::min(m_value.size(), size - 1);
        std::memcpy(buffer, m_value.data(), count);
        buffer[count] = '\0';
        return count;
    }

    void Write(Stream::Out &out) const
    {
        if (!m_value.empty())
            out.Write(m_value.data(), static_cast<std::uint32_t>(m_value.size()));
        std::size_t missing = N - m_value.size();
        if (Pad == '\0') {
            static const char zeros[32] = {};
            while (missing > 0) {
                const std::size_t block = std::min(missing, sizeof zeros);
                out.Write(zeros, static_cast<std::uint32_t>(block));
                missing -= block;
            }
        } else {
            for (; missing > 0; --missing)
                out.Write(Pad);
        }
    }

    void Read(Stream::In &in)
    {
        std::string value;
        std::size_t consumed = 0;
        while (consumed < N) {
            char c = '\0';
            in.Read(c);
            ++consumed;
            if (c == '\0') {
                in.Skip(N - consumed);
                break;
            }
            value += c;
        }
        m_value = std::move(value);
        StripPad();
    }

private:
    void StripPad()
    {
        const std::size_t keep = m_value.find_last_not_of(Pad);
        m_value.erase(keep == std::string::npos ? 0 : keep + 1);
    }

    std::string m_value;
};

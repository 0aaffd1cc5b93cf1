// Sound files through libsndfile, and the chunk bank and program files byte by
// byte.
#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/WavIO.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include "tests/support/TempFolder.h"

using namespace vsthost;

namespace {

// File bytes written out by hand: big-endian words, texts in fixed fields.
struct Bytes {
    std::vector<uint8_t> v;
    Bytes& text(const std::string& s, size_t field = 0) {
        v.insert(v.end(), s.begin(), s.end());
        return zeros(field > s.size() ? field - s.size() : 0);
    }
    Bytes& word(uint32_t x) {
        for (int shift = 24; shift >= 0; shift -= 8)
            v.push_back(uint8_t(x >> shift));
        return *this;
    }
    Bytes& zeros(size_t n) {
        v.resize(v.size() + n);
        return *this;
    }
    Bytes& raw(const std::vector<uint8_t>& b) {
        v.insert(v.end(), b.begin(), b.end());
        return *this;
    }
};

constexpr int32_t kTapDelayId = 0x56615444;  // 'VaTD'

std::vector<uint8_t> countingChunk(size_t n) {
    std::vector<uint8_t> chunk(n);
    for (size_t i = 0; i < n; ++i)
        chunk[i] = (uint8_t)(i * 7 + 3);
    return chunk;
}

PatchFile chunkPatch(PatchFile::Kind kind, size_t chunkSize) {
    PatchFile patch;
    patch.kind = kind;
    patch.fxId = kTapDelayId;
    patch.chunk = countingChunk(chunkSize);
    return patch;
}

}  // namespace

TEST(WavFiles, FloatIsExactPcmQuantisesAndClipsErrorsNameTheFile) {
    TempFolder dir;
    AudioBuffer audio(44100, 2, 1000);
    for (size_t i = 0; i < 1000; ++i) {
        audio.channels[0][i] = (float)i / 1000.0f - 0.5f;
        audio.channels[1][i] = i == 500 ? 1.75f : -1e-20f;  // beyond full scale, tiny
    }
    writeAudioFile(dir.file("a.wav"), audio);
    const AudioBuffer back = readAudioFile(dir.file("a.wav"));
    EXPECT_DOUBLE_EQ(back.sampleRate, 44100.0);
    EXPECT_EQ(back.channels, audio.channels);

    AudioBuffer pcm(48000, 1, 2);
    pcm.channels[0] = {1.5f, 0.1f};
    writeAudioFile(dir.file("p.wav"), pcm, SampleFormat::Pcm16);
    EXPECT_EQ(readAudioFile(dir.file("p.wav")).channels[0][0], 32767.0f / 32768.0f);  // clipped, not wrapped
    writeAudioFile(dir.file("p24.wav"), pcm, SampleFormat::Pcm24);
    EXPECT_NEAR(readAudioFile(dir.file("p24.wav")).channels[0][1], 0.1, 1.0 / 8388608);
    try {
        readAudioFile("/nonexistent/x.wav");
        FAIL() << "no error";
    } catch (const AudioFileError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/x.wav"), std::string::npos);
    }
    EXPECT_THROW(writeAudioFile(dir.file("empty.wav"), AudioBuffer()), AudioFileError);
}

TEST(BankFiles, OpaqueChunkLayouts) {
    PatchFile bank = chunkPatch(PatchFile::Kind::BankChunk, 17664);
    bank.numPrograms = 64;
    const std::vector<uint8_t> bytes = serializePatch(bank);
    EXPECT_EQ(bytes, Bytes().text("CcnK").word(17824 - 8).text("FBCh").word(1).text("VaTD").word(1).word(64)
                         .zeros(128).word(17664).raw(bank.chunk).v);
    PatchFile back = parsePatch(bytes);
    EXPECT_EQ(back.kind, PatchFile::Kind::BankChunk);
    EXPECT_EQ(back.fxId, kTapDelayId);
    EXPECT_EQ(back.numPrograms, 64);
    EXPECT_EQ(back.currentProgram, -1);  // version 1 keeps no current program
    EXPECT_EQ(back.chunk, bank.chunk);

    bank = chunkPatch(PatchFile::Kind::BankChunk, 10);
    bank.formatVersion = 2;
    bank.currentProgram = 17;
    EXPECT_EQ(serializePatch(bank), Bytes().text("CcnK").word(170 - 8).text("FBCh").word(2).text("VaTD").word(1)
                                        .word(0).word(17).zeros(124).word(10).raw(bank.chunk).v);
    EXPECT_EQ(parsePatch(serializePatch(bank)).currentProgram, 17);

    PatchFile program = chunkPatch(PatchFile::Kind::ProgramChunk, 276);
    program.numPrograms = 62;
    program.programName = "Slapback";
    EXPECT_EQ(serializePatch(program), Bytes().text("CcnK").word(60 + 276 - 8).text("FPCh").word(1).text("VaTD")
                                           .word(1).word(62).text("Slapback", 28).word(276).raw(program.chunk).v);
    back = parsePatch(serializePatch(program));
    EXPECT_EQ(back.kind, PatchFile::Kind::ProgramChunk);
    EXPECT_EQ(back.programName, "Slapback");
    EXPECT_EQ(back.chunk, program.chunk);
}

TEST(BankFiles, DamagedFilesAreRefused) {
    const std::vector<uint8_t> bytes = serializePatch(chunkPatch(PatchFile::Kind::BankChunk, 100));
    auto damaged = [&bytes](size_t at, uint8_t value) {
        std::vector<uint8_t> copy = bytes;
        copy[at] = value;
        return copy;
    };
    EXPECT_THROW(parsePatch({bytes.begin(), bytes.end() - 1}), BankFileError);  // cut short
    EXPECT_THROW(parsePatch({bytes.begin(), bytes.begin() + 100}), BankFileError);  // header only
    EXPECT_THROW(parsePatch(damaged(0, 'X')), BankFileError);  // magic
    EXPECT_THROW(parsePatch(damaged(8, 'Z')), BankFileError);  // kind
    EXPECT_THROW(parsePatch(damaged(156, 0x7F)), BankFileError);  // chunk size
    EXPECT_THROW(parsePatch({}), BankFileError);
    TempFolder dir;
    EXPECT_THROW(readPatchFile(dir.file("missing.fxb")), BankFileError);
}

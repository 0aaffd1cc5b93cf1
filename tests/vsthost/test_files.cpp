// Sound files through libsndfile, and program and bank files byte by byte.
#include "tools/vsthost/BankFile.h"
#include "tools/vsthost/WavIO.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <unistd.h>

using namespace vsthost;

namespace {

class TempFolder {
public:
    TempFolder() {
        char pattern[] = "/tmp/vsthost-test-XXXXXX";
        path_ = mkdtemp(pattern);
    }
    ~TempFolder() { std::system(("rm -rf '" + path_ + "'").c_str()); }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

uint32_t bigEndianAt(const std::vector<uint8_t>& b, size_t at) {
    return (uint32_t)b[at] << 24 | (uint32_t)b[at + 1] << 16 | (uint32_t)b[at + 2] << 8 | b[at + 3];
}

std::string textAt(const std::vector<uint8_t>& b, size_t at, size_t n) {
    return std::string(b.begin() + at, b.begin() + at + n);
}

constexpr int32_t kTapDelayId = 0x56615444;  // 'VaTD'

std::vector<uint8_t> countingChunk(size_t n) {
    std::vector<uint8_t> chunk(n);
    for (size_t i = 0; i < n; ++i)
        chunk[i] = (uint8_t)(i * 7 + 3);
    return chunk;
}

}  // namespace

TEST(WavFiles, FloatRoundTripIsExact) {
    TempFolder dir;
    AudioBuffer audio(44100, 2, 1000);
    for (size_t i = 0; i < 1000; ++i) {
        audio.channels[0][i] = (float)i / 1000.0f - 0.5f;
        audio.channels[1][i] = i == 500 ? 1.75f : -1e-20f;  // beyond full scale, tiny
    }
    writeAudioFile(dir.file("a.wav"), audio);
    const AudioBuffer back = readAudioFile(dir.file("a.wav"));
    EXPECT_DOUBLE_EQ(back.sampleRate, 44100.0);
    ASSERT_EQ(back.channelCount(), 2u);
    ASSERT_EQ(back.frames(), 1000u);
    EXPECT_EQ(back.channels, audio.channels);
}

TEST(WavFiles, PcmQuantisesAndClips) {
    TempFolder dir;
    AudioBuffer audio(48000, 1, 4);
    audio.channels[0] = {0.5f, -0.25f, 1.5f, 0.1f};
    writeAudioFile(dir.file("p.wav"), audio, SampleFormat::Pcm16);
    const AudioBuffer back = readAudioFile(dir.file("p.wav"));
    ASSERT_EQ(back.channelCount(), 1u);
    EXPECT_FLOAT_EQ(back.channels[0][0], 0.5f);
    EXPECT_FLOAT_EQ(back.channels[0][1], -0.25f);
    EXPECT_NEAR(back.channels[0][2], 32767.0 / 32768.0, 1e-6);  // clipped, not wrapped
    EXPECT_NEAR(back.channels[0][3], 0.1, 1.0 / 32768);

    writeAudioFile(dir.file("p24.wav"), audio, SampleFormat::Pcm24);
    EXPECT_NEAR(readAudioFile(dir.file("p24.wav")).channels[0][3], 0.1, 1.0 / 8388608);
}

TEST(WavFiles, ErrorsNameTheFile) {
    try {
        readAudioFile("/nonexistent/x.wav");
        FAIL() << "no error";
    } catch (const AudioFileError& e) {
        EXPECT_NE(std::string(e.what()).find("/nonexistent/x.wav"), std::string::npos);
    }
    EXPECT_THROW(writeAudioFile("/nonexistent/y.wav", AudioBuffer(48000, 1, 10)), AudioFileError);
    EXPECT_THROW(writeAudioFile("/tmp/z.wav", AudioBuffer()), AudioFileError);
}

TEST(BankFiles, OpaqueBankLayout) {
    PatchFile bank;
    bank.kind = PatchFile::Kind::BankChunk;
    bank.fxId = kTapDelayId;
    bank.numPrograms = 64;
    bank.chunk = countingChunk(17664);
    const std::vector<uint8_t> bytes = serializePatch(bank);

    ASSERT_EQ(bytes.size(), 17824u);
    EXPECT_EQ(textAt(bytes, 0, 4), "CcnK");
    EXPECT_EQ(bigEndianAt(bytes, 4), 17824u - 8);
    EXPECT_EQ(textAt(bytes, 8, 4), "FBCh");
    EXPECT_EQ(bigEndianAt(bytes, 12), 1u);
    EXPECT_EQ(textAt(bytes, 16, 4), "VaTD");
    EXPECT_EQ(bigEndianAt(bytes, 20), 1u);
    EXPECT_EQ(bigEndianAt(bytes, 24), 64u);
    for (size_t i = 28; i < 156; ++i)
        ASSERT_EQ(bytes[i], 0) << "reserved byte " << i;
    EXPECT_EQ(bigEndianAt(bytes, 156), 17664u);
    EXPECT_TRUE(std::equal(bank.chunk.begin(), bank.chunk.end(), bytes.begin() + 160));

    const PatchFile back = parsePatch(bytes);
    EXPECT_EQ(back.kind, PatchFile::Kind::BankChunk);
    EXPECT_EQ(back.fxId, kTapDelayId);
    EXPECT_EQ(back.numPrograms, 64);
    EXPECT_EQ(back.currentProgram, -1);  // version 1 keeps no current program
    EXPECT_EQ(back.chunk, bank.chunk);
}

TEST(BankFiles, VersionTwoBankKeepsTheCurrentProgram) {
    PatchFile bank;
    bank.kind = PatchFile::Kind::BankChunk;
    bank.formatVersion = 2;
    bank.currentProgram = 17;
    bank.chunk = countingChunk(10);
    const std::vector<uint8_t> bytes = serializePatch(bank);
    EXPECT_EQ(bigEndianAt(bytes, 28), 17u);
    EXPECT_EQ(parsePatch(bytes).currentProgram, 17);
}

TEST(BankFiles, OpaqueProgramLayout) {
    PatchFile program;
    program.kind = PatchFile::Kind::ProgramChunk;
    program.fxId = kTapDelayId;
    program.numPrograms = 62;
    program.programName = "Slapback";
    program.chunk = countingChunk(276);
    const std::vector<uint8_t> bytes = serializePatch(program);

    ASSERT_EQ(bytes.size(), 60u + 276u);
    EXPECT_EQ(textAt(bytes, 0, 4), "CcnK");
    EXPECT_EQ(bigEndianAt(bytes, 4), 60u + 276u - 8);
    EXPECT_EQ(textAt(bytes, 8, 4), "FPCh");
    EXPECT_EQ(textAt(bytes, 16, 4), "VaTD");
    EXPECT_EQ(bigEndianAt(bytes, 24), 62u);
    EXPECT_EQ(textAt(bytes, 28, 9), std::string("Slapback\0", 9));
    EXPECT_EQ(bigEndianAt(bytes, 56), 276u);
    EXPECT_TRUE(std::equal(program.chunk.begin(), program.chunk.end(), bytes.begin() + 60));

    const PatchFile back = parsePatch(bytes);
    EXPECT_EQ(back.kind, PatchFile::Kind::ProgramChunk);
    EXPECT_EQ(back.programName, "Slapback");
    EXPECT_EQ(back.chunk, program.chunk);
}

TEST(BankFiles, ParameterProgramsAndBanks) {
    PatchFile bank;
    bank.kind = PatchFile::Kind::BankParams;
    bank.fxId = 0x5A4D444C;
    bank.formatVersion = 2;
    bank.currentProgram = 1;
    bank.programs = {{"First", {0.0f, 0.5f, 1.0f}}, {"A name of twenty-seven chars", {0.25f, 0.75f, 0.125f}}};
    const std::vector<uint8_t> bytes = serializePatch(bank);
    // A header of 156 bytes (no chunk size), then two records of 56 bytes
    // of header and name plus 3 floats.
    ASSERT_EQ(bytes.size(), 156u + 2 * (56u + 12u));
    EXPECT_EQ(textAt(bytes, 8, 4), "FxBk");
    EXPECT_EQ(bigEndianAt(bytes, 24), 2u);
    EXPECT_EQ(textAt(bytes, 156, 4), "CcnK");
    EXPECT_EQ(textAt(bytes, 156 + 8, 4), "FxCk");
    EXPECT_EQ(bigEndianAt(bytes, 156 + 4), 56u + 12u - 8);
    EXPECT_EQ(textAt(bytes, 156 + 28, 6), std::string("First\0", 6));
    EXPECT_EQ(bigEndianAt(bytes, 156 + 56 + 4), 0x3F000000u);  // 0.5f, big-endian

    const PatchFile back = parsePatch(bytes);
    EXPECT_EQ(back.kind, PatchFile::Kind::BankParams);
    EXPECT_EQ(back.currentProgram, 1);
    ASSERT_EQ(back.programs.size(), 2u);
    EXPECT_EQ(back.programs[0].name, "First");
    EXPECT_EQ(back.programs[1].name, "A name of twenty-seven char");  // 27 kept
    EXPECT_EQ(back.programs[1].params, bank.programs[1].params);

    PatchFile single;
    single.kind = PatchFile::Kind::ProgramParams;
    single.programName = "One";
    single.programs = {{"One", {0.5f, 0.25f}}};
    const PatchFile one = parsePatch(serializePatch(single));
    EXPECT_EQ(one.kind, PatchFile::Kind::ProgramParams);
    EXPECT_EQ(one.numPrograms, 2);
    EXPECT_EQ(one.programs.at(0).params, (std::vector<float>{0.5f, 0.25f}));
}

TEST(BankFiles, DamagedFilesAreRefused) {
    PatchFile bank;
    bank.kind = PatchFile::Kind::BankChunk;
    bank.chunk = countingChunk(100);
    std::vector<uint8_t> bytes = serializePatch(bank);

    std::vector<uint8_t> cut(bytes.begin(), bytes.end() - 1);
    EXPECT_THROW(parsePatch(cut), BankFileError);
    std::vector<uint8_t> headerOnly(bytes.begin(), bytes.begin() + 100);
    EXPECT_THROW(parsePatch(headerOnly), BankFileError);
    std::vector<uint8_t> wrongMagic = bytes;
    wrongMagic[0] = 'X';
    EXPECT_THROW(parsePatch(wrongMagic), BankFileError);
    std::vector<uint8_t> unknownKind = bytes;
    unknownKind[8] = 'Z';
    EXPECT_THROW(parsePatch(unknownKind), BankFileError);
    std::vector<uint8_t> hugeChunk = bytes;
    hugeChunk[156] = 0x7F;
    EXPECT_THROW(parsePatch(hugeChunk), BankFileError);
    EXPECT_THROW(parsePatch({}), BankFileError);
}

TEST(BankFiles, ReadAndWriteFiles) {
    TempFolder dir;
    PatchFile bank;
    bank.kind = PatchFile::Kind::BankChunk;
    bank.fxId = kTapDelayId;
    bank.chunk = countingChunk(300);
    writePatchFile(dir.file("b.fxb"), bank);
    EXPECT_EQ(readPatchFile(dir.file("b.fxb")).chunk, bank.chunk);
    try {
        readPatchFile(dir.file("missing.fxb"));
        FAIL() << "no error";
    } catch (const BankFileError& e) {
        EXPECT_NE(std::string(e.what()).find("missing.fxb"), std::string::npos);
    }
}

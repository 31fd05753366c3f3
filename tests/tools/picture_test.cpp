// Images as pictures and tones as files: the frame text's bitmap rules, the
// dithering, the terminal drawing, the PNG and GIF files in memory, and
// the subcommands' refusals, in process against the simulated phone.
#include <gif_lib.h>
#include <png.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "phone_sim/sample_set.h"
#include "velkport/command_io.h"
#include "velkport/frame_bitmap.h"
#include "velkport/half_block_view.h"
#include "velkport/hex_bytes.h"
#include "velkport/picture_files.h"
#include "velkport/transfer_commands.h"

namespace velk::cli {
namespace {

using ::testing::HasSubstr;
namespace fs = std::filesystem;

Bitmap MakeBitmap(unsigned width, unsigned height, const std::vector<const char*>& rows) {
    Bitmap bitmap{width, height, {}};
    for (const char* row : rows) {
        for (unsigned x = 0; x < width; ++x) bitmap.dots.push_back(row[x] == '#' ? 1 : 0);
    }
    return bitmap;
}

// NOLINTNEXTLINE(bugprone-easily-swappable-parameters): width, height, then the seed
Bitmap RandomBitmap(unsigned width, unsigned height, uint32_t seed) {
    std::mt19937 random(seed);
    Bitmap bitmap{width, height, std::vector<uint8_t>(std::size_t{width} * height)};
    for (uint8_t& dot : bitmap.dots) dot = static_cast<uint8_t>(random() & 1);
    return bitmap;
}

// The dots in black and white.
GreyPicture PictureFromBitmap(const Bitmap& bitmap) {
    GreyPicture picture{bitmap.width, bitmap.height, {}};
    for (const uint8_t dot : bitmap.dots) picture.grey.push_back(dot != 0 ? 0 : 255);
    return picture;
}

// Each text against the dots it holds: rows from the top, the dots of a
// row one after the other from the high bit of a digit, across digits.
TEST(FrameBitmap, TextHoldsRowsFromTheTopLeftmostDotInTheHighBit) {
    struct Row {
        const char* text;
        unsigned width;
        unsigned height;
        std::vector<const char*> rows;
    } rows[] = {
        {"8001", 8, 2, {"#.......", ".......#"}},
        // Six dots a row: the second row starts inside the second digit.
        {"870", 6, 2, {"#....#", "##...."}},
        {"F0a5", 4, 4, {"####", "....", "#.#.", ".#.#"}},
        // 3 × 3 = 9 dots: the last digit's last three bits are no dots.
        {"AA8", 3, 3, {"#.#", ".#.", "#.#"}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        std::string problem;
        const std::optional<Bitmap> bitmap =
            BitmapFromFrame(row.text, row.width, row.height, problem);
        ASSERT_TRUE(bitmap) << problem;
        EXPECT_EQ(bitmap->dots, MakeBitmap(row.width, row.height, row.rows).dots);
        std::string upper = row.text;
        for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        EXPECT_EQ(FrameFromBitmap(*bitmap), upper) << "written back in upper case";
    }
}

// The phone's own frames decode to the shapes it drew: the smile's ring,
// eyes and empty middle where its drawing put them.
TEST(FrameBitmap, SimulatedPhonesFramesAreItsDrawings) {
    const phonesim::SampleSet set = phonesim::MakeSampleSet(1);
    std::string problem;
    const std::optional<Bitmap> smile = BitmapFromFrame(set.frames.at(1), 96, 64, problem);
    ASSERT_TRUE(smile) << problem;
    EXPECT_TRUE(smile->Dark(48, 4)) << "top of the ring around (48, 32), radius 28";
    EXPECT_TRUE(smile->Dark(20, 32)) << "left of the ring";
    EXPECT_TRUE(smile->Dark(38, 24)) << "left eye";
    EXPECT_FALSE(smile->Dark(48, 32)) << "the middle";
    EXPECT_FALSE(smile->Dark(0, 0));
    for (const auto& [number, text] : set.frames) {
        const std::optional<Bitmap> bitmap = BitmapFromFrame(text, 96, 64, problem);
        ASSERT_TRUE(bitmap) << "frame " << number << ": " << problem;
        EXPECT_EQ(FrameFromBitmap(*bitmap), text) << "frame " << number;
    }
}

TEST(FrameBitmap, TextThatIsNoBitmapIsRefusedNamingBothCounts) {
    std::string broken(1536, '0');
    broken[99] = 'X';
    broken[200] = ' ';
    struct Row {
        std::string text;
        unsigned width;
        unsigned height;
        const char* says;
    } rows[] = {
        {std::string(1000, '0'), 96, 64,
         "a frame of 96 × 64 dots is 1536 hexadecimal digits, and its text has 1000 characters"},
        {std::string(1536, 'F'), 100, 64,
         "a frame of 100 × 64 dots is 1600 hexadecimal digits, and its text has 1536 characters"},
        {broken, 96, 64,
         "a frame of 96 × 64 dots is 1536 hexadecimal digits, and of its 1536 characters 1534 "
         "are such digits (the first that is not: character 100)"},
        {"", 96, 64, "its text has 0 characters"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.says);
        std::string problem;
        EXPECT_FALSE(BitmapFromFrame(row.text, row.width, row.height, problem));
        EXPECT_THAT(problem, HasSubstr(row.says));
    }
}

// Black and white come through dot for dot; a grey keeps its shade as a
// density of dark dots, which a plain threshold would lose.
TEST(FrameBitmap, DitheringKeepsBlackAndWhiteAndTheShadeOfGrey) {
    const Bitmap pattern = RandomBitmap(96, 64, 7);
    EXPECT_EQ(Dither(PictureFromBitmap(pattern)).dots, pattern.dots);

    struct Row {
        uint8_t grey;
        double dark;  // the share of dark dots
    } rows[] = {{0, 1.0}, {32, 0.875}, {64, 0.75}, {128, 0.5}, {191, 0.25}, {255, 0.0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.grey));
        const GreyPicture grey{96, 64, std::vector<uint8_t>(std::size_t{96} * 64, row.grey)};
        const Bitmap dots = Dither(grey);
        const double dark =
            static_cast<double>(std::count(dots.dots.begin(), dots.dots.end(), 1)) / (96 * 64);
        EXPECT_NEAR(dark, row.dark, 0.02);
    }
    // A left-to-right ramp gets darker to the left in every band of columns.
    GreyPicture ramp{96, 64, std::vector<uint8_t>(std::size_t{96} * 64)};
    for (unsigned y = 0; y < 64; ++y) {
        for (unsigned x = 0; x < 96; ++x)
            ramp.grey[y * 96 + x] = static_cast<uint8_t>(x * 255 / 95);
    }
    const Bitmap dots = Dither(ramp);
    int previous = 64 * 16 + 1;
    for (unsigned band = 0; band < 6; ++band) {
        int dark = 0;
        for (unsigned y = 0; y < 64; ++y) {
            for (unsigned x = band * 16; x < band * 16 + 16; ++x) dark += dots.Dark(x, y) ? 1 : 0;
        }
        EXPECT_LT(dark, previous) << "band " << band;
        previous = dark;
    }
}

TEST(HalfBlockView, TwoRowsOfDotsToALine) {
    const Bitmap bitmap = MakeBitmap(4, 3, {"##..", "#.#.", ".#.#"});
    EXPECT_EQ(HalfBlockLines(bitmap),
              (std::vector<std::string>{"\u2588\u2580\u2584 ", " \u2580 \u2580"}));
}

TEST(HexBytes, EveryByteThereAndBack) {
    std::string bytes;
    for (int b = 0; b < 256; ++b) bytes += static_cast<char>(b);
    const std::string text = HexOfBytes(bytes);
    EXPECT_EQ(text.substr(0, 8), "00010203");
    EXPECT_EQ(text.substr(text.size() - 4), "FEFF");
    EXPECT_EQ(BytesOfHex(text), bytes);
    EXPECT_EQ(BytesOfHex("4d54"), "MT");
    for (const char* notBytes : {"", "ABC", "4G", "4D 54", "Bells"}) {
        EXPECT_EQ(BytesOfHex(notBytes), std::nullopt) << notBytes;
    }
}

// A PNG made by libpng in `format` of the dots, black and white, for the
// reader to take apart.
std::string PngInFormat(const Bitmap& bitmap, png_uint_32 format) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = bitmap.width;
    image.height = bitmap.height;
    image.format = format;
    const std::size_t channels = PNG_IMAGE_PIXEL_CHANNELS(format);
    std::vector<uint8_t> pixels;
    for (const uint8_t dot : bitmap.dots) {
        for (std::size_t c = 0; c < channels; ++c) {
            const bool alpha = (format & PNG_FORMAT_FLAG_ALPHA) != 0 && c + 1 == channels;
            // The dark dots opaque black; the light ones transparent where
            // there is alpha, which reads as white.
            pixels.push_back(alpha ? (dot != 0 ? 255 : 0) : (dot != 0 ? 0 : 255));
        }
    }
    png_alloc_size_t size = 0;
    EXPECT_NE(png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), 0, nullptr), 0);
    std::string bytes(size, '\0');
    EXPECT_NE(png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr),
              0);
    bytes.resize(size);
    return bytes;
}

TEST(PictureFiles, PicturesOfEveryFormatReadBackAsTheirDots) {
    const Bitmap pattern = RandomBitmap(96, 64, 11);
    std::string problem;
    const std::optional<std::string> ours = PngOfBitmap(pattern, problem);
    ASSERT_TRUE(ours) << problem;
    struct Row {
        const char* what;
        std::string bytes;
    } rows[] = {
        {"our own one-bit PNG", *ours},
        {"grey", PngInFormat(pattern, PNG_FORMAT_GRAY)},
        {"grey and alpha", PngInFormat(pattern, PNG_FORMAT_GA)},
        {"colour", PngInFormat(pattern, PNG_FORMAT_RGB)},
        {"colour and alpha", PngInFormat(pattern, PNG_FORMAT_RGBA)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const std::optional<std::vector<GreyPicture>> read = ReadPng(row.bytes, "p.png", problem);
        ASSERT_TRUE(read) << problem;
        ASSERT_EQ(read->size(), 1u);
        EXPECT_EQ(Dither(read->front()).dots, pattern.dots);
    }

    std::vector<Bitmap> frames;
    for (uint32_t seed = 1; seed <= 3; ++seed) frames.push_back(RandomBitmap(96, 64, seed));
    const std::optional<std::string> gif = GifOfBitmaps(frames, 200, problem);
    ASSERT_TRUE(gif) << problem;
    EXPECT_EQ(gif->substr(0, 6), "GIF89a");
    EXPECT_NE(gif->find("NETSCAPE2.0"), std::string::npos) << "an animation loops";
    const std::optional<std::vector<GreyPicture>> read = ReadGif(*gif, "a.gif", problem);
    ASSERT_TRUE(read) << problem;
    ASSERT_EQ(read->size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(Dither((*read)[i]).dots, frames[i].dots) << i;

    EXPECT_FALSE(ReadPng(ours->substr(0, 60), "cut.png", problem));
    EXPECT_THAT(problem, HasSubstr("cut.png"));
    EXPECT_FALSE(ReadGif("GIF89a nonsense", "bad.gif", problem));
    EXPECT_THAT(problem, HasSubstr("bad.gif is "));
    EXPECT_FALSE(ReadPng(*gif, "a.png", problem)) << "a GIF named .png is no PNG";
    EXPECT_THAT(problem, HasSubstr("a.png is no PNG picture"));
}

int AppendTo(GifFileType* gif, const GifByteType* data, int count) {
    static_cast<std::string*>(gif->UserData)
        ->append(reinterpret_cast<const char*>(data), static_cast<std::size_t>(count));
    return count;
}

// A GIF as other programs write them: a second frame that covers only part
// of the screen, interlaced, with a transparent colour, drawn over the first.
TEST(PictureFiles, GifFramesAreComposedAsAViewerShowsThem) {
    std::string bytes;
    int error = 0;
    GifFileType* gif = EGifOpen(&bytes, &AppendTo, &error);
    ASSERT_NE(gif, nullptr);
    GifColorType colours[4] = {{255, 255, 255}, {0, 0, 0}, {200, 0, 0}, {0, 0, 255}};
    ColorMapObject* map = GifMakeMapObject(4, colours);
    EGifSetGifVersion(gif, true);
    ASSERT_EQ(EGifPutScreenDesc(gif, 8, 8, 2, 0, map), GIF_OK);
    GifFreeMapObject(map);
    // Frame 1: the left half black.
    ASSERT_EQ(EGifPutImageDesc(gif, 0, 0, 8, 8, false, nullptr), GIF_OK);
    GifPixelType row[8] = {1, 1, 1, 1, 0, 0, 0, 0};
    for (int y = 0; y < 8; ++y) ASSERT_EQ(EGifPutLine(gif, row, 8), GIF_OK);
    // Frame 2: 3 × 5 dots at (4, 2), colour 3 transparent, its lines sent
    // in interlaced order (0, 4, 2, 1, 3): row r is "1 3 1" when r is even,
    // "3 2 3" when odd (the dark red reads as dark).
    GraphicsControlBlock control{DISPOSE_DO_NOT, false, 10, 3};
    GifByteType extension[4];
    const std::size_t length = EGifGCBToExtension(&control, extension);
    ASSERT_EQ(EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, int(length), extension), GIF_OK);
    ASSERT_EQ(EGifPutImageDesc(gif, 4, 2, 3, 5, true, nullptr), GIF_OK);
    for (int r : {0, 4, 2, 1, 3}) {
        GifPixelType part[3] = {1, 3, 1};
        if (r % 2 == 1) part[0] = part[2] = 3, part[1] = 2;
        ASSERT_EQ(EGifPutLine(gif, part, 3), GIF_OK);
    }
    ASSERT_EQ(EGifCloseFile(gif, &error), GIF_OK);

    std::string problem;
    const std::optional<std::vector<GreyPicture>> frames = ReadGif(bytes, "other.gif", problem);
    ASSERT_TRUE(frames) << problem;
    ASSERT_EQ(frames->size(), 2u);
    const Bitmap left = MakeBitmap(8, 8,
                                   {"####....", "####....", "####....", "####....", "####....",
                                    "####....", "####....", "####...."});
    EXPECT_EQ(Dither((*frames)[0]).dots, left.dots);
    const Bitmap over = MakeBitmap(8, 8,
                                   {"####....", "####....", "#####.#.", "####.#..", "#####.#.",
                                    "####.#..", "#####.#.", "####...."});
    EXPECT_EQ(Dither((*frames)[1]).dots, over.dots);
}

TEST(PictureFiles, TheNameSaysWhatAFileHolds) {
    EXPECT_EQ(KindOfFile("a.png"), FileKind::kPng);
    EXPECT_EQ(KindOfFile("dir/A.GIF"), FileKind::kGif);
    EXPECT_EQ(KindOfFile("x.mid"), FileKind::kMidi);
    EXPECT_EQ(KindOfFile("x.Midi"), FileKind::kMidi);
    EXPECT_EQ(KindOfFile("frames.txt"), FileKind::kText);
    EXPECT_EQ(KindOfFile("my.png/frames"), FileKind::kText);
    EXPECT_EQ(KindOfFile(""), FileKind::kText);
}

// --- The subcommands, in process against the built-in phone.

struct Ran {
    int code;
    std::string out;
    std::string err;
};

class PictureCommand : public ::testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/velk-pictures-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        dir = pattern;
        phone.storeDir = (dir / "store").string();
    }
    void TearDown() override { fs::remove_all(dir); }

    std::string File(const std::string& name) const { return (dir / name).string(); }
    void Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(dir / name, std::ios::binary) << bytes;
    }
    std::string Read(const std::string& name) const {
        std::ifstream in(dir / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    Ran Velkport(const std::string& command, const std::vector<std::string>& args) const {
        std::istringstream in;
        std::ostringstream out;
        std::ostringstream err;
        const int code = RunTransferCommand(command, args, CommandIo{in, out, err}, phone);
        return {code, out.str(), err.str()};
    }
    std::string Gif(std::size_t frames, unsigned width = 96, unsigned height = 64) const {
        std::string problem;
        return GifOfBitmaps(std::vector<Bitmap>(frames, RandomBitmap(width, height, 3)), 100,
                            problem)
            .value_or("");
    }

    fs::path dir;
    phonesim::SimulatorOptions phone;
};

TEST_F(PictureCommand, PicturesThatDoNotFitAreRefusedAndLeaveNoFile) {
    std::string problem;
    Write("small.png", PngOfBitmap(RandomBitmap(48, 32, 1), problem).value_or(""));
    Write("three.gif", Gif(3));
    Write("many.gif", Gif(43));
    Write("text.png", "not a picture");
    Write("empty.mid", "");
    // Images 1 and 2 two frames apart: image 1 has room for two.
    fs::create_directories(dir / "store");
    Write("store/index.json",
          "{\"tones\": [], \"images\": [{\"name\": \"A\", \"frames\": 1, \"first\": 1, "
          "\"param\": \"250100\"}, {\"name\": \"B\", \"frames\": 1, \"first\": 3, "
          "\"param\": \"250100\"}]}");
    Write("store/frame-1.txt", std::string(1536, '0'));
    Write("store/frame-3.txt", std::string(1536, 'F'));
    struct Row {
        const char* command;
        std::vector<std::string> args;
        int code;
        std::string says;
    } rows[] = {
        {"image-put",
         {"2", "S", File("small.png")},
         kExitUsage,
         File("small.png") + " is a picture of 48 × 32 dots; the phone's frames are 96 × 64 dots "
                             "(value 4 and value 5 of its image information)."},
        {"image-put",
         {"1", "T", File("three.gif")},
         kExitUsage,
         File("three.gif") + " has 3 frames; image 1 has room for 2, from frame 1 up to the next "
                             "image's first frame 3."},
        {"image-put",
         {"2", "M", File("many.gif")},
         kExitUsage,
         File("many.gif") + " has 43 frames; at most 42 can be written at once."},
        {"image-put",
         {"2", "X", File("text.png")},
         kExitUsage,
         File("text.png") + " is no PNG picture that can be read ("},
        {"image-put",
         {"2", "W", File("three.gif"), "--width", "48", "--height", "32"},
         kExitUsage,
         File("three.gif") +
             " is a picture of 96 × 64 dots; the phone's frames are 48 × 32 dots (--width and "
             "--height)."},
        {"image-put",
         {"2", "W", File("small.png"), "--width", "48", "--height", "32"},
         kExitUsage,
         "a frame of 48 × 32 dots is 384 hexadecimal digits; the library's frames are 1536."},
        {"image-get",
         {"2", "-o", File("out.png"), "--width", "100", "--height", "64"},
         kExitFailure,
         "frame 1 of image 2 is no bitmap: a frame of 100 × 64 dots is 1600 hexadecimal digits, "
         "and its text has 1536 characters"},
        {"image-get",
         {"1", "-o", File("out.png"), "--frame", "2"},
         kExitUsage,
         "image 1 has 1 frame: --frame 2 names none of them."},
        {"image-get",
         {"1", "-o", File("out.gif"), "--frame", "1"},
         kExitUsage,
         "--frame applies to a .png file only; a .gif holds every frame."},
        {"image-get",
         {"1", "-o", File("out.png"), "--frame-ms", "100"},
         kExitUsage,
         "--frame-ms applies to a .gif file only."},
        {"image-get",
         {"1", "-o", File("out.txt"), "--width", "96"},
         kExitUsage,
         "--width and --height apply to a picture only, a .png or .gif file."},
        {"image-get",
         {"1", "-o", File("out.gif"), "--frame-ms", "5"},
         kExitUsage,
         "--frame-ms needs a number from 10 to 655350, not \"5\""},
        {"image-show",
         {"1", "--width", "0"},
         kExitUsage,
         "--width needs a number from 1 to 4096, not \"0\""},
        {"tone-put",
         {"3", "E", File("empty.mid")},
         kExitUsage,
         File("empty.mid") + " has 0 bytes; a tone file has 1 to 16255 (two hexadecimal digits a "
                             "byte)."},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::string(row.command) + " " + row.args[0] + " " + row.args[1]);
        const Ran ran = Velkport(row.command, row.args);
        EXPECT_EQ(ran.code, row.code);
        EXPECT_THAT(ran.err, HasSubstr("velkport " + std::string(row.command) + ": " + row.says));
        for (const char* out : {"out.png", "out.gif", "out.txt"}) {
            EXPECT_FALSE(fs::exists(dir / out)) << out << " left behind";
        }
    }
    EXPECT_EQ(Read("store/frame-1.txt"), std::string(1536, '0')) << "no refused write arrived";
}

TEST_F(PictureCommand, ShowDrawsEachFrameInHalfBlocks) {
    const Ran ran = Velkport("image-show", {"2"});
    ASSERT_EQ(ran.code, kExitDone) << ran.err;
    std::istringstream lines(ran.out);
    std::vector<std::string> all;
    for (std::string line; std::getline(lines, line);) all.push_back(line);
    ASSERT_EQ(all.size(), 3u * 33 + 2) << "three frames of a title and 32 lines, blank between";
    EXPECT_EQ(all[0], "Image 2 \"Ball\", frame 1 of 3 (96 × 64 dots):");
    EXPECT_EQ(all[34], "Image 2 \"Ball\", frame 2 of 3 (96 × 64 dots):");
    // The ground under the ball, dot row 52, is the upper half of line 26.
    std::string ground;
    for (int i = 0; i < 96; ++i) ground += "\u2580";
    EXPECT_EQ(all[1 + 26], ground);
    EXPECT_EQ(all[1], std::string(96, ' '));

    const Ran one = Velkport("image-show", {"2", "--frame", "3"});
    ASSERT_EQ(one.code, kExitDone) << one.err;
    EXPECT_THAT(one.out, HasSubstr("Image 2 \"Ball\", frame 3 of 3 (96 × 64 dots):\n"));
    EXPECT_EQ(std::count(one.out.begin(), one.out.end(), '\n'), 33);
}

// A tone that is no hexadecimal text reaches a .mid as it is, with a note.
TEST_F(PictureCommand, ToneTextThatIsNoBytesStaysText) {
    Write("tone.txt", "a melody of letters");
    ASSERT_EQ(Velkport("tone-put", {"5", "Words", File("tone.txt")}).code, kExitDone);
    const Ran get = Velkport("tone-get", {"5", "-o", File("words.mid")});
    EXPECT_EQ(get.code, kExitDone) << get.err;
    EXPECT_EQ(Read("words.mid"), "a melody of letters");
    EXPECT_THAT(get.err, HasSubstr("note: the tone's text is not hexadecimal, so " +
                                   File("words.mid") + " holds it as text."));
}

}  // namespace
}  // namespace velk::cli

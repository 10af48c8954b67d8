#include "media-server/image/png.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

#include "media-server/codec/picture_parameters.h"
#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

const std::string kSignature = "\x89PNG\r\n\x1A\n"s;

std::string Chunk(const std::string& type, const std::string& data) {
  return Be(data.size(), 4) + type + data + "crc."s;
}

std::string Header(unsigned width, unsigned height, int depth = 8, int color_type = 2) {
  return Chunk("IHDR",
               Be(width, 4) + Be(height, 4) + static_cast<char>(depth) + static_cast<char>(color_type) + Zeros(3));
}

const std::string kData = Chunk("IDAT", "data");
const std::string kEnd = Chunk("IEND", "");

std::string Still(const std::string& before_data, const std::string& after_data = "") {
  return kSignature + Header(122, 76) + before_data + kData + after_data + kEnd;
}

/// Number, size, place, delay, disposal and blending.
std::string FrameControl(unsigned numerator, unsigned denominator) {
  return Chunk("fcTL", Zeros(20) + Be(numerator, 2) + Be(denominator, 2) + Zeros(2));
}
const std::string kAnimationControl = Chunk("acTL", Be(2, 4) + Be(0, 4));
const std::string kFrameData = Chunk("fdAT", "1234frame");

std::string Deflated(const std::string& text) {
  std::string out(compressBound(text.size()), '\0');
  uLongf size = out.size();
  EXPECT_EQ(
      compress(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(text.data()), text.size()),
      Z_OK);
  out.resize(size);
  return out;
}

std::string TextChunk(const std::string& keyword, const std::string& text) {
  return Chunk("tEXt", keyword + '\0' + text);
}
std::string CompressedText(const std::string& keyword, const std::string& text) {
  return Chunk("zTXt", keyword + "\0\0"s + Deflated(text));
}
std::string InternationalText(const std::string& keyword, const std::string& text) {
  return Chunk("iTXt", keyword + "\0\0\0en\0translated\0"s + text);
}
std::string CompressedInternationalText(const std::string& keyword, const std::string& text) {
  return Chunk("iTXt", keyword + "\0\1\0\0\0"s + Deflated(text));
}

/// As ImageMagick writes them.
std::string RawProfile(const std::string& name, const std::string& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "\n" + name + "\n    " + std::to_string(bytes.size());
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i % 36 == 0) text += '\n';
    text += kDigits[static_cast<unsigned char>(bytes[i]) >> 4];
    text += kDigits[static_cast<unsigned char>(bytes[i]) & 15];
  }
  return text + '\n';
}

TEST(Png, TellsSizeDepthAndColour) {
  const auto headers = ReadPicture(Still(""));
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->type, imagecore::kPicturePng);
  EXPECT_EQ(headers->fourcc, FourCC("PNG "));
  EXPECT_EQ(headers->alpha, imagecore::kAlphaNone);
  EXPECT_EQ(headers->bit_depth, 8);
  EXPECT_EQ(headers->chroma_sampling, codec::kChromaRgb);
  EXPECT_FALSE(headers->animation);
  const auto gray = ReadPicture(kSignature + Header(1, 2, 1, 0) + kData);
  EXPECT_EQ(gray->bit_depth, 1);
  EXPECT_EQ(gray->chroma_sampling, codec::kChroma400);
  const auto palette = ReadPicture(kSignature + Header(1, 2, 2, 3) + kData);
  EXPECT_EQ(palette->bit_depth, 8) << "of the palette";
  EXPECT_EQ(palette->chroma_sampling, codec::kChromaRgb);
  EXPECT_EQ(ReadPicture(kSignature + Header(1, 2, 16, 6) + kData)->bit_depth, 16);
}

TEST(Png, TellsAlphaFromColourTypeOrTransparency) {
  const auto alpha = [](int color_type, const std::string& rest) {
    return ReadPicture(kSignature + Header(1, 2, 8, color_type) + rest)->alpha;
  };
  EXPECT_EQ(alpha(4, ""), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(6, kData), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(2, Chunk("tRNS", Zeros(6)) + kData), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(3, Chunk("PLTE", Zeros(6)) + Chunk("tRNS", "\0"s) + kData), imagecore::kAlphaStraight);
  EXPECT_EQ(alpha(3, Chunk("PLTE", Zeros(6)) + kData), imagecore::kAlphaNone);
  EXPECT_EQ(alpha(0, kData + Chunk("tRNS", Zeros(2))), imagecore::kAlphaNone) << "behind the picture data";
  EXPECT_EQ(alpha(3, Chunk("PLTE", Zeros(6))), std::nullopt) << "cut before it is clear";
}

TEST(Png, ReadsWhatApplesToolsOptimise) {
  const auto headers =
      ReadPicture(kSignature + Chunk("CgBI", Zeros(4)) + Header(122, 76, 8, 6) + Chunk("IDAT", "raw") + kEnd);
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->alpha, imagecore::kAlphaPremultiplied);
}

TEST(Png, RefusesWhatDoesNotBeginWithAHeader) {
  EXPECT_FALSE(ReadPicture(kSignature + kData));
  EXPECT_FALSE(ReadPicture(kSignature + Chunk("gAMA", Zeros(4)) + Header(1, 2)));
  EXPECT_FALSE(ReadPicture(kSignature + Chunk("IHDR", Be(1, 4) + Be(2, 4)))) << "a header cut short by its length";
  EXPECT_FALSE(ReadPicture(kSignature + Header(1, 2, 3))) << "no such depth";
  EXPECT_FALSE(ReadPicture(kSignature + Header(1, 2, 0))) << "no such depth";
  EXPECT_FALSE(ReadPicture(kSignature + Header(0, 2)));
  EXPECT_FALSE(ReadPicture(kSignature + Header(1, 0x80000000)));
}

TEST(Png, TellsTheSameSizeHoweverEarlyTheFileEnds) {
  ExpectSameSizeOfEveryPrefix(Still(kAnimationControl + TextChunk("AIGC", "{}") + FrameControl(1, 10)),
                              kSignature.size() + 8 + 13);
}

TEST(Png, FindsExifBeforeAndBehindThePictureData) {
  EXPECT_EQ(ExifOf(ReadPng, Still(Chunk("eXIf", "II*\0exif"s))), "II*\0exif"s);
  EXPECT_EQ(ExifOf(ReadPng, Still("", Chunk("eXIf", "MM\0*exif"s))), "MM\0*exif"s);
  EXPECT_EQ(ExifOf(ReadPng, Still(Chunk("eXIf", "Exif\0\0II*\0exif"s))), "II*\0exif"s);
  EXPECT_EQ(ExifOf(ReadPng, Still(Chunk("eXIf", "\0\0\0\0II*\0exif"s))), "II*\0exif"s) << "as HEIF has it";
}

TEST(Png, FindsXmpAndTheLabelInEveryKindOfText) {
  using Writer = std::string (*)(const std::string& keyword, const std::string& text);
  for (const Writer write :
       {Writer{TextChunk}, Writer{CompressedText}, Writer{InternationalText}, Writer{CompressedInternationalText}}) {
    const std::string chunks =
        write("XML:com.adobe.xmp", "<xmp/>") + write("AIGC", "{\"Label\":\"1\"}") + write("Comment", "not metadata");
    for (const std::string& file : {Still(chunks), Still("", chunks)}) {
      const auto headers = ReadPicture(file);
      EXPECT_EQ(headers->metadata.xmp, "<xmp/>");
      EXPECT_EQ(headers->metadata.aigc, "{\"Label\":\"1\"}");
    }
  }
}

TEST(Png, KeepsTheFirstLabelAndFurtherXmp) {
  const auto headers =
      ReadPicture(Still(TextChunk("AIGC", "one") + TextChunk("AIGC", "two") + TextChunk("XML:com.adobe.xmp", "<a/>") +
                        TextChunk("XML:com.adobe.xmp", "<b/>")));
  EXPECT_EQ(headers->metadata.aigc, "one");
  EXPECT_EQ(headers->metadata.xmp, "<a/>");
  EXPECT_EQ(headers->metadata.further_xmp, std::vector<std::string>{"<b/>"});
}

TEST(Png, DecodesRawProfiles) {
  const std::string image_resource = "8BIM\x04\x04\0\0\0\0\0\4\x1C\x02\x00\x00"s;
  const std::string iptc = "\x1C\x02\x00\x00"s;
  struct Case {
    std::string name;
    std::string profile;
    std::string exif;
    std::string xmp;
    std::string iptc;
  };
  const Case kCases[] = {
      {"exif", "Exif\0\0II*\0tiff"s, "II*\0tiff"s, "", ""},
      {"exif", "MM\0*tiff"s, "MM\0*tiff"s, "", ""},
      {"APP1", "Exif\0\0II*\0tiff"s, "II*\0tiff"s, "", ""},
      {"APP1", "http://ns.adobe.com/xap/1.0/\0<xmp/>"s, "", "<xmp/>", ""},
      {"xmp", "<?xpacket?>", "", "<?xpacket?>", ""},
      {"iptc", image_resource, "", "", iptc},
      {"iptc", iptc, "", "", iptc},
      {"8bim", "Photoshop 3.0\0"s + image_resource, "", "", iptc},
      {"icc", "Exif\0\0II*\0tiff"s, "", "", ""},
  };
  for (const Case& expected : kCases) {
    SCOPED_TRACE(expected.name);
    for (const bool is_compressed : {false, true}) {
      const std::string keyword = "Raw profile type " + expected.name;
      const std::string text = RawProfile(expected.name, expected.profile);
      const std::string file = Still(is_compressed ? CompressedText(keyword, text) : TextChunk(keyword, text));
      const auto headers = ReadPicture(file);
      EXPECT_EQ(ExifOf(ReadPng, file), expected.exif);
      EXPECT_EQ(headers->metadata.xmp, expected.xmp);
      EXPECT_EQ(Text(headers->metadata.iptc), expected.iptc);
    }
  }
}

TEST(Png, PrefersTheExifChunkToARawProfile) {
  const std::string raw = TextChunk("Raw profile type exif", RawProfile("exif", "II*\0text"s));
  const std::string chunk = Chunk("eXIf", "II*\0chunk"s);
  EXPECT_EQ(ExifOf(ReadPng, Still(raw + chunk)), "II*\0chunk"s);
  EXPECT_EQ(ExifOf(ReadPng, Still(chunk + raw)), "II*\0chunk"s);
  EXPECT_EQ(ExifOf(ReadPng, Still(raw + Chunk("eXIf", "rubbish"))), "II*\0text"s) << "one that can be read";
}

TEST(Png, LeavesOutProfilesAndTextsThatAreDamaged) {
  const std::string keyword = "Raw profile type exif";
  for (const std::string& chunk :
       {TextChunk(keyword, "\nexif\n 400\n4949"),  // fewer digits than told
        TextChunk(keyword, "\nexif\n 99999999999999999999\n4949"), TextChunk(keyword, "exif"), TextChunk(keyword, ""),
        Chunk("tEXt", keyword), Chunk("zTXt", keyword + "\0"s),
        Chunk("zTXt", keyword + "\0\1"s + Deflated("x")),  // a compression that does not exist
        Chunk("zTXt", "AIGC\0\0 not zlib"s), Chunk("zTXt", "AIGC\0\0"s + Deflated("text").substr(0, 6)),
        Chunk("iTXt", "AIGC\0"s), Chunk("iTXt", "AIGC\0\0\0no end"s), Chunk("iTXt", "AIGC\0\0\0en\0no end"s)}) {
    const auto headers = ReadPicture(Still(chunk));
    ASSERT_TRUE(headers);
    EXPECT_FALSE(HasPayload(headers->metadata));
    EXPECT_EQ(headers->metadata.aigc, "");
  }
}

TEST(Png, TakesALabelThatIsNoUtf8AsWindows1252) {
  EXPECT_EQ(ReadPicture(Still(TextChunk("AIGC", "{\"L\":\"\xE9\xFF\"}")))->metadata.aigc, "{\"L\":\"\u00E9\u00FF\"}");
  EXPECT_EQ(ReadPicture(Still(TextChunk("AIGC", "{\"L\":\"\u00E9\"}")))->metadata.aigc, "{\"L\":\"\u00E9\"}");
}

TEST(Png, InflatesNoMoreThanAPayloadMayHave) {
  const std::string fits(kMostMetadataBytes, '.');
  EXPECT_EQ(ReadPicture(Still(CompressedText("AIGC", fits)))->metadata.aigc, fits);
  EXPECT_EQ(ReadPicture(Still(CompressedText("AIGC", fits + '.')))->metadata.aigc, "");
  const std::string bomb(std::size_t{64} << 20, '.');  // 64 KiB on the wire
  EXPECT_EQ(ReadPicture(Still(CompressedText("AIGC", bomb)))->metadata.aigc, "");
}

TEST(Png, TellsItsCreationTimeFromEveryKindOfText) {
  const auto created = [](const std::string& chunks) { return ReadPicture(Still("", chunks))->metadata.created; };
  constexpr std::int64_t kTime = 1536048672;  // 2018-09-04 08:11:12 UTC
  const std::string mail = "Tue, 04 Sep 2018 10:11:12 +0200";
  EXPECT_EQ(created(TextChunk("Creation Time", mail)), kTime);
  EXPECT_EQ(created(CompressedText("Creation Time", "2018:09:04 10:11:12+02:00")), kTime);
  EXPECT_EQ(created(InternationalText("Creation Time", "2018-09-04T08:11:12Z")), kTime);
  EXPECT_EQ(created(TextChunk("Creation Time", "yesterday") + TextChunk("Creation Time", mail)), kTime);
  EXPECT_EQ(created(TextChunk("Creation Time", mail) + TextChunk("Creation Time", "2020-01-01 00:00:00Z")), kTime);
  EXPECT_EQ(created(TextChunk("Creation time", mail)), std::nullopt);
}

TEST(Png, TellsItsModificationTimeInUtc) {
  const auto modified = [](const std::string& data) {
    return ReadPicture(Still(Chunk("tIME", data)))->metadata.modified;
  };
  EXPECT_EQ(modified(FromHex("07e0 01 01 00 00 01")), 1451606401);  // 2016-01-01 00:00:01
  EXPECT_EQ(modified(FromHex("07e0 02 1d 17 3b 3c")), 1456790400);  // leap second of 2016-02-29
  EXPECT_EQ(modified(FromHex("07e1 02 1d 00 00 00")), std::nullopt) << "no such day";
  EXPECT_EQ(modified(FromHex("07e0 01 01 18 00 00")), std::nullopt) << "no such hour";
  EXPECT_EQ(modified(FromHex("07e0 01 01 00 00")), std::nullopt);
}

TEST(Png, AddsUpTheDelaysOfAnAnimation) {
  const auto animation = [](const std::string& chunks) {
    return ReadPicture(Still(kAnimationControl + chunks))->animation;
  };
  const auto even = animation(FrameControl(1, 10) + kFrameData + FrameControl(10, 100) + kFrameData);
  ASSERT_TRUE(even);
  EXPECT_DOUBLE_EQ(even->duration_s, 0.2);
  EXPECT_EQ(even->frame_rate, (core::Rational{10, 1}));
  const auto uneven = animation(FrameControl(1, 10) + kFrameData + FrameControl(3, 10) + kFrameData);
  EXPECT_DOUBLE_EQ(uneven->duration_s, 0.4);
  EXPECT_EQ(uneven->frame_rate, std::nullopt);
  const auto hundredths = animation(FrameControl(6, 0) + kFrameData + FrameControl(6, 0) + kFrameData);
  EXPECT_DOUBLE_EQ(hundredths->duration_s, 0.12);
  EXPECT_EQ(hundredths->frame_rate, (core::Rational{50, 3}));
  const auto instant = animation(FrameControl(0, 10) + kFrameData + FrameControl(0, 10) + kFrameData);
  EXPECT_EQ(instant->duration_s, 0);
  EXPECT_EQ(instant->frame_rate, std::nullopt);
  EXPECT_FALSE(animation(FrameControl(1, 10))) << "a single frame stands still";
}

TEST(Png, IsNoAnimationWithoutItsControlBeforeThePictureData) {
  const std::string frames = FrameControl(1, 10) + kFrameData + FrameControl(1, 10) + kFrameData;
  EXPECT_FALSE(ReadPicture(Still(frames))->animation);
  EXPECT_FALSE(ReadPicture(Still("", kAnimationControl + frames))->animation);
}

TEST(Png, HasTheFramesThatACutFileStillHas) {
  const std::string file = kSignature + Header(1, 2) + kAnimationControl + kData + FrameControl(1, 10) + kFrameData +
                           FrameControl(1, 10) + kFrameData + FrameControl(1, 10);
  EXPECT_DOUBLE_EQ(ReadPicture(file)->animation->duration_s, 0.3);
  EXPECT_DOUBLE_EQ(ReadPicture(file.substr(0, file.size() - 10))->animation->duration_s, 0.2);
}

TEST(Png, SkipsPictureDataWithoutReadingThem) {
  // 100 MB in pieces of 8 KiB, and metadata behind them.
  RepeatingSource source(kSignature + Header(122, 76), Chunk("IDAT", Zeros(8192)), 12800,
                         Chunk("eXIf", "II*\0exif"s) + kEnd);
  PictureHeaders headers;
  ASSERT_TRUE(ReadPng(source, headers));
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(Text(headers.metadata.exif), "II*\0exif"s);
  EXPECT_LE(source.BytesRead(), 128U * 1024);
}

TEST(Png, CountsAHundredThousandFrames) {
  RepeatingSource source(kSignature + Header(1, 2) + kAnimationControl + kData, FrameControl(1, 25) + kFrameData,
                         100000, kEnd);
  std::string reason;
  const auto headers = ReadPictureHeaders(source, &reason);
  EXPECT_DOUBLE_EQ(headers->animation->duration_s, 4000);
  EXPECT_EQ(headers->animation->frame_rate, (core::Rational{25, 1}));
}

TEST(Png, LeavesAnAnimationOutThatItDoesNotSeeTheEndOf) {
  const std::string large_frame = FrameControl(1, 25) + Chunk("fdAT", Zeros(4000));
  for (const std::string& unit : {FrameControl(1, 25) + kFrameData, large_frame}) {  // too many chunks, too many bytes
    RepeatingSource source(kSignature + Header(1, 2) + kAnimationControl + kData, unit, std::uint64_t{1} << 40);
    std::string reason;
    const auto headers = ReadPictureHeaders(source, &reason);
    ExpectSize(headers, 1, 2);
    EXPECT_FALSE(headers->animation);
    EXPECT_LE(source.BytesRead(), 65U << 20);
  }
}

TEST(Png, ReadsABoundedPartOfAnyStill) {
  const std::string big_text = CompressedText("AIGC", std::string(1 << 20, ' '));
  for (const std::string& unit : {Chunk("abcd", ""), Chunk("IDAT", Zeros(100000)), big_text,
                                  Chunk("eXIf", Zeros(100000)), TextChunk("XML:com.adobe.xmp", Zeros(200000))}) {
    RepeatingSource source(kSignature + Header(1, 2), unit, (std::uint64_t{1} << 40) / unit.size());
    std::string reason;
    ExpectSize(ReadPictureHeaders(source, &reason), 1, 2);
    EXPECT_LE(source.BytesRead(), 300U * 1024);
  }
}

}  // namespace
}  // namespace media_server::image

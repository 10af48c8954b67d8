#include "platform/library.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/text.h"

namespace {

using testing::HasSubstr;

using LoadFunction = HMODULE (*)(const char* path);
using AnswerFunction = int (*)();

constexpr char kNeighbourName[] = "platform_test_neighbour.dll";

std::u16string Wide(const char* path) { return platform::ToUtf16(path); }

int AskForAnswer(HMODULE library) {
  const auto answer = reinterpret_cast<AnswerFunction>(GetProcAddress(library, "NeighbourAnswer"));
  return answer ? answer() : 0;
}

TEST(LibraryTest, LoadsByPath) {
  HMODULE wide = LoadLibraryW(Wide(NEIGHBOUR_PATH).c_str());
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(AskForAnswer(wide), 42);
  HMODULE narrow = LoadLibraryA(NEIGHBOUR_PATH);
  EXPECT_EQ(narrow, wide);
  dlclose(narrow);
  dlclose(wide);
}

TEST(LibraryTest, LoadsByAPathThatIsNoText) {
  std::string folder = (std::filesystem::temp_directory_path() / "mediainfo-test-\xFF-XXXXXX").string();
  ASSERT_NE(mkdtemp(folder.data()), nullptr);
  const std::string copy = folder + "/neighbour.dll";
  std::filesystem::copy_file(NEIGHBOUR_PATH, copy);
  const std::u16string path = platform::PathToUtf16(copy);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
  HMODULE library = LoadLibraryW(path.c_str());
  EXPECT_EQ(AskForAnswer(library), 42);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), library);
  if (library) dlclose(library);
  std::filesystem::remove_all(folder);
}

TEST(LibraryTest, MissingFileGivesNullAndAReason) {
  EXPECT_EQ(LoadLibraryW(u"/nowhere/missing.dll"), nullptr);
  EXPECT_THAT(platform::LibraryErrorText(), HasSubstr("/nowhere/missing.dll"));
  EXPECT_EQ(platform::LibraryErrorText(), "");
  EXPECT_EQ(LoadLibraryA("/nowhere/missing.dll"), nullptr);
  EXPECT_EQ(LoadLibraryA("platform_test_missing.dll"), nullptr);
  EXPECT_THAT(platform::LibraryErrorText(), HasSubstr("platform_test_missing.dll"));
}

TEST(LibraryTest, NullAndEmptyPathsAreNoLibrary) {
  EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
  EXPECT_EQ(LoadLibraryW(u""), nullptr);
  EXPECT_EQ(LoadLibraryA(nullptr), nullptr);
  EXPECT_EQ(LoadLibraryA(""), nullptr);
  EXPECT_EQ(GetModuleHandleW(nullptr), nullptr);
  EXPECT_EQ(GetModuleHandleW(u""), nullptr);
}

TEST(LibraryTest, BareNameIsFoundBesideTheCallingLibrary) {
  // This program lies in another folder than the neighbour, the caller in the same.
  ASSERT_EQ(LoadLibraryA(kNeighbourName), nullptr);

  HMODULE caller = LoadLibraryA(CALLER_PATH);
  ASSERT_NE(caller, nullptr);
  const auto load_from_there = reinterpret_cast<LoadFunction>(GetProcAddress(caller, "LoadFromHere"));
  ASSERT_NE(load_from_there, nullptr);
  HMODULE neighbour = load_from_there(kNeighbourName);
  ASSERT_NE(neighbour, nullptr);
  EXPECT_EQ(AskForAnswer(neighbour), 42);
  dlclose(neighbour);
  dlclose(caller);
}

TEST(LibraryTest, BareNameIsFoundBesideTheProgram) {
  HMODULE library = LoadLibraryA("platform_test_beside_program.dll");
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(AskForAnswer(library), 42);
  dlclose(library);
}

TEST(LibraryTest, BareNameIsFoundInTheUsualPlaces) {
  HMODULE library = LoadLibraryA("libm.so.6");
  ASSERT_NE(library, nullptr);
  EXPECT_NE(GetProcAddress(library, "cos"), nullptr);
  dlclose(library);
}

TEST(LibraryTest, ModuleHandleFindsOnlyWhatIsLoaded) {
  const std::u16string path = Wide(NEIGHBOUR_PATH);
  ASSERT_EQ(GetModuleHandleW(path.c_str()), nullptr);
  HMODULE library = LoadLibraryW(path.c_str());
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), library);
  // The one reference is the one that LoadLibraryW took.
  dlclose(library);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

TEST(LibraryTest, LoadingTwiceCountsTwoReferences) {
  const std::u16string path = Wide(NEIGHBOUR_PATH);
  HMODULE library = LoadLibraryW(path.c_str());
  ASSERT_EQ(LoadLibraryW(path.c_str()), library);
  dlclose(library);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), library);
  dlclose(library);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

TEST(LibraryTest, SymbolsStayLocalToTheirLibrary) {
  HMODULE library = LoadLibraryA(NEIGHBOUR_PATH);
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(dlsym(RTLD_DEFAULT, "NeighbourAnswer"), nullptr);
  dlclose(library);
}

TEST(LibraryTest, UnknownSymbolIsNull) {
  HMODULE library = LoadLibraryA(NEIGHBOUR_PATH);
  ASSERT_NE(library, nullptr);
  EXPECT_EQ(GetProcAddress(library, "Missing"), nullptr);
  EXPECT_THAT(platform::LibraryErrorText(), HasSubstr("Missing"));
  EXPECT_EQ(GetProcAddress(library, nullptr), nullptr);
  EXPECT_EQ(GetProcAddress(nullptr, "malloc"), nullptr);
  dlclose(library);
}

}  // namespace

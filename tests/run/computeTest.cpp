// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The commands, in one process without MPI.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

#include "run/commands/commands.h"
#include "run/commands/options.h"
#include "run/commands/partNames.h"
#include "tests/run/FilledFile.h"
#include "tests/support/Captured.h"
#include "tests/support/Refused.h"

namespace {

using run::ComputeCommand;
using run::FieldFile;
using testing::HasSubstr;
using Values = std::vector<std::complex<double>>;

struct Commands : FieldFiles {
    Commands() {
        command.output = path;
        command.request = smallRequest();
        for (const char* name : {"transform", "sizes", "l", "s", "k"})
            command.given.emplace(name, run::dashed(name));
        command.slabPoints = 20;
    }

    /// Does a work and returns what it said on standard output, or the failure's text.
    template <class Work>
    static std::string said(Work work) {
        std::string failure;
        const Printed printed = captured([&] { failure = refused(work); });
        return failure == "no failure" ? printed.out : failure;
    }

    static std::string compute(const ComputeCommand& command) {
        return said([&] {
            run::Ranks ranks({});
            EXPECT_EQ(run::compute(command, ranks), 0);
        });
    }

    /// The field, evaluated at once.
    static Values field() {
        const pistonfield::Request request = smallRequest();
        Values values(140);
        pistonfield::Plan(request).compute(request.lattice.box(), values.data());
        return values;
    }

    static int verify(const std::filesystem::path& file) {
        int status = -1;
        captured([&] { status = run::verify({{file}}); });
        return status;
    }

    ComputeCommand command;
};

// --- compute

TEST_F(Commands, ComputeTheSameFieldWhateverTheSlabs) {
    for (const std::int64_t points : {1, 7, 50, 1000}) {
        command.slabPoints = points;
        EXPECT_THAT(compute(command), HasSubstr(path.string() + " is complete, 140 points\n"));
        EXPECT_EQ(valuesIn<double>(path), field());
        EXPECT_EQ(verify(path), 0);
        std::filesystem::remove(path);
    }
}

TEST_F(Commands, ComputeLeavesAnAccountAndAFileForViewers) {
    compute(command);
    const run::Provenance provenance = FieldFile(path, FieldFile::Access::read).provenance();
    EXPECT_TRUE(provenance.complete);
    EXPECT_EQ(provenance.processes, 1);
    EXPECT_GT(provenance.seconds, 0);
    EXPECT_GT(provenance.peakMemory, 1 << 20);
    EXPECT_LE(provenance.started, provenance.finished);
    EXPECT_TRUE(std::filesystem::exists(path.string() + ".xdmf"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path), {}), 2);
}

TEST_F(Commands, ComputeWithoutMagnitudesLeavesNoFileForViewers) {
    command.magnitude = false;
    compute(command);
    EXPECT_EQ(valuesIn<double>(path), field());
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".xdmf"));
}

TEST_F(Commands, ComputeKeepsAnOutputThatIsThere) {
    setContents(path, "precious");
    EXPECT_EQ(compute(command),
              path.string() + " exists: complete it with --resume, or replace it with --overwrite");
    command.resume = true;
    EXPECT_THAT(compute(command), HasSubstr("cannot be opened as HDF5"));
    EXPECT_EQ(contents(path), "precious");
}

TEST_F(Commands, ComputeOnlyEstimatesWhereThatIsAsked) {
    command.onlyEstimate = true;
    const std::string text = compute(command);
    EXPECT_THAT(text, HasSubstr("field   7 x 5 x 4 points, mode cpu, order 6\n"));
    // Twelve slabs of 7 x 2 x 1 points, each of 16 + 4 bytes.
    EXPECT_THAT(text, HasSubstr("disk    3.4 kB in " + path.string()));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

TEST_F(Commands, ComputeEstimatesFieldsOfAnySizeAndOrderInSeconds) {
    command.onlyEstimate = true;
    command.request.rule = {.order = 18000, .table = {}};
    // Far from the piston, where an angle's reduction is slow: a place of these took a minute.
    command.request.lattice.sizes = {1'000'000'000'000'000, 1, 1};
    command.slabPoints = 1 << 18;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(compute(command), HasSubstr("field   1000000000000000 x 1 x 1 points"));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(40));
}

TEST_F(Commands, ComputeAgainWhatIsMissingOrHasChanged) {
    compute(command);
    const LatticeBox point{{3, 2, 1}, {1, 1, 1}};
    damage<double>(path, point);
    EXPECT_EQ(verify(path), 1);
    EXPECT_NE(valuesIn<double>(path), field());

    ComputeCommand resumption;
    resumption.output = path;
    resumption.resume = true;
    EXPECT_THAT(compute(resumption),
                HasSubstr("computing again what has changed since it was written: 1 of "));
    EXPECT_EQ(valuesIn<double>(path), field());
    EXPECT_EQ(verify(path), 0);
}

TEST_F(Commands, ComputeGoesOnWithAFileWithoutSlabs) {
    run::Layout layout = smallLayout();
    FieldFile::create(path, layout);
    EXPECT_EQ(verify(path), 1);
    command.resume = true;
    compute(command);
    EXPECT_EQ(valuesIn<double>(path), field());
}

TEST_F(Commands, ComputeDoesNotGoOnWithAnotherField) {
    compute(command);
    const std::string before = contents(path);
    command.resume = true;
    command.request.wave.wavenumber = 7;
    EXPECT_EQ(compute(command),
              "-k differs from the request that " + path.string() + " was begun with");
    EXPECT_TRUE(contents(path) == before);
}

TEST_F(Commands, ComputeKeepsWhatWasMeasuredOfATolerance) {
    command.request.rule = {};
    command.request.tolerance = pistonfield::Tolerance{1e-5, pistonfield::Tolerance::Of::local};
    command.given.emplace("tolerance", "--tolerance");
    const std::string text = compute(command);
    EXPECT_THAT(text, HasSubstr("field   7 x 5 x 4 points, double precision, "
                                "tolerance 1e-05 of the local |p|\n"));
    EXPECT_THAT(text, HasSubstr("\nerror   "));
    const auto expected = pistonfield::Plan(command.request).accuracy();
    const auto kept = FieldFile(path, FieldFile::Access::read).provenance().accuracy;
    ASSERT_TRUE(expected && kept);
    EXPECT_EQ(kept->bound, expected->bound);
    EXPECT_EQ(kept->error, expected->error);
    EXPECT_EQ(kept->evaluations, expected->evaluations);
    EXPECT_EQ(kept->points, expected->points);
    Values values(140);
    pistonfield::Plan(command.request).compute(command.request.lattice.box(), values.data());
    EXPECT_EQ(valuesIn<double>(path), values);
}

TEST_F(Commands, ComputeHasTheBitsOfThePlanWithLossesInAnyBaffle) {
    command.request.rule = {};
    command.request.tolerance = pistonfield::Tolerance{1e-5};
    command.request.wave.attenuation = 0.25;
    command.given.emplace("tolerance", "--tolerance");
    for (const pistonfield::Baffle baffle :
         {pistonfield::Baffle::rigid, pistonfield::Baffle::soft, pistonfield::Baffle::free}) {
        command.request.baffle = baffle;
        EXPECT_THAT(compute(command), HasSubstr(" is complete, 140 points\n"));
        Values values(140);
        pistonfield::Plan(command.request).compute(command.request.lattice.box(), values.data());
        EXPECT_EQ(valuesIn<double>(path), values);
        std::filesystem::remove(path);
    }
}

TEST_F(Commands, ComputeNamesTheOptionOfWhatThePlanRefuses) {
    command.request.rule = {};
    command.request.tolerance = pistonfield::Tolerance{1e-4};
    command.request.lattice.transform[11] = -0.1;
    EXPECT_THAT(compute(command), testing::StartsWith("--transform: "));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
    command.request.behind = true;
    EXPECT_THAT(compute(command), HasSubstr(" is complete, 140 points\n"));
}

TEST_F(Commands, ComputeCompressesACompleteField) {
    command.deflate = 1;
    compute(command);
    EXPECT_TRUE(FieldFile(path, FieldFile::Access::read).compressed());
    EXPECT_EQ(valuesIn<double>(path), field());
    EXPECT_EQ(verify(path), 0);
}

TEST_F(Commands, ComputeRefusesWhatHasNoField) {
    command.request.piston.height = 0;
    EXPECT_EQ(compute(command), "-l: must be a length above 0");
    command.given.erase("l");
    EXPECT_EQ(compute(command),
              "-l is missing, and there is no " + command.output.string() + " to go on with");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path));
}

// --- join

struct PartFiles : Commands {
    PartFiles() {
        for (const std::int64_t number : {1, 2, 3}) {
            command.part = run::Part{number, 3};
            command.output = folder / ("part-" + std::to_string(number) + ".h5");
            parts.push_back(command.output);
            compute(command);
        }
    }

    std::string join(const std::vector<std::filesystem::path>& files) const {
        return said([&] { run::join({path, files}); });
    }

    std::vector<std::filesystem::path> parts;
};

TEST_F(PartFiles, JoinIntoTheWholeField) {
    EXPECT_EQ(join({parts[2], parts[0], parts[1]}),
              path.string() + " has 140 points in 3 files, which it needs beside it\n");
    EXPECT_EQ(valuesIn<double>(path), field());
    const run::Provenance provenance = FieldFile(path, FieldFile::Access::read).provenance();
    EXPECT_TRUE(provenance.complete);
    EXPECT_TRUE(std::filesystem::exists(path.string() + ".xdmf"));
    const std::string verified = said([&] { EXPECT_EQ(run::verify({{path}}), 0); });
    for (const auto& part : parts) EXPECT_THAT(verified, testing::HasSubstr(part.string() + ": "));
}

TEST_F(PartFiles, ThatDoNotMakeAFieldAreRefused) {
    EXPECT_EQ(join({parts[0], parts[2]}), "parts are missing: 35 points are in none");
    EXPECT_EQ(join({parts[0], parts[1], parts[0]}), parts[0].string() + " overlaps with part-1.h5");
    run::Layout other = smallLayout();
    other.request.wave.wavenumber = 1;
    createFilled(folder / "other.h5", other);
    EXPECT_EQ(join({parts[0], folder / "other.h5"}),
              (folder / "other.h5").string() + " belongs to another field");
    FieldFile::create(folder / "new.h5", smallLayout());
    EXPECT_EQ(join({folder / "new.h5"}), (folder / "new.h5").string() + " is not complete");
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_FALSE(std::filesystem::exists(path.string() + ".new"));
}

TEST_F(PartFiles, ThatAreMissingAreNamedWhereTheFilesNameThem) {
    std::vector<std::filesystem::path> named;
    for (const std::int64_t number : {1, 2, 3}) {
        named.push_back(run::partPath(path, {number, 3}));
        std::filesystem::copy_file(parts[static_cast<std::size_t>(number - 1)], named.back());
    }
    EXPECT_EQ(join({named[0], named[2]}), "parts are missing: 35 points are in none, those of 2/3");
    EXPECT_EQ(join({named[1]}), "parts are missing: 105 points are in none, those of 1/3, 3/3");
    EXPECT_EQ(join({named[0], parts[2]}), "parts are missing: 35 points are in none");
    // Names that do not say the truth.
    std::filesystem::rename(named[1], folder / "swap.h5");
    std::filesystem::rename(named[2], named[1]);
    EXPECT_EQ(join({named[0], named[1]}), "parts are missing: 35 points are in none");
    const std::filesystem::path odd = folder / "field.part-1-of-9000.h5";
    std::filesystem::rename(named[0], odd);
    EXPECT_EQ(join({odd}), "parts are missing: 70 points are in none");
}

TEST_F(PartFiles, DoNotJoinOverAFile) {
    setContents(path, "precious");
    EXPECT_EQ(join(parts), path.string() + " exists: remove it first, or give --overwrite");
    EXPECT_EQ(contents(path), "precious");
}

// --- extract

struct Extraction : Commands {
    Extraction() {
        createFilled(path, smallLayout());
        extraction.file = path;
        extraction.output = folder / "field.raw";
    }

    std::string extract() const {
        return said([&] { run::extract(extraction); });
    }

    Values extracted() const {
        const std::string bytes = contents(extraction.output);
        Values values(bytes.size() / sizeof(values[0]));
        std::memcpy(values.data(), bytes.data(), bytes.size());
        return values;
    }

    run::ExtractCommand extraction;
};

TEST_F(Extraction, IsTheWholeField) {
    EXPECT_EQ(extract(), "");
    EXPECT_EQ(extracted(), field());
}

TEST_F(Extraction, IsABox) {
    extraction.first = {2, 1, 1};
    extraction.size = {3, 2, 2};
    EXPECT_EQ(extract(), "");
    Values expected(12);
    pistonfield::Plan(smallRequest()).compute({{2, 1, 1}, {3, 2, 2}}, expected.data());
    EXPECT_EQ(extracted(), expected);
}

TEST_F(Extraction, OutsideOfTheFieldIsRefused) {
    extraction.first = {2, 5, 1};
    EXPECT_EQ(extract(), "--first: 5 is not within 0 to 4");
    extraction.first = {2, 4, 1};
    extraction.size = {3, 2, 2};
    EXPECT_EQ(extract(), "--size: 2 is not within 1 to 1");
    EXPECT_FALSE(std::filesystem::exists(extraction.output));
}

TEST_F(Extraction, OfAnUnfinishedFieldIsRefused) {
    FieldFile::create(path, smallLayout());
    EXPECT_EQ(extract(), path.string() + " is not complete");
}

TEST_F(Extraction, ThatCannotBeWrittenSaysSo) {
    extraction.output = folder / "none" / "field.raw";
    EXPECT_EQ(extract(),
              extraction.output.string() + " cannot be written: No such file or directory");
}

}  // namespace

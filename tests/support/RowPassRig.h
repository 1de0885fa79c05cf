#pragma once

// A subject, a white card and a fresh byte copy of the subject on disk, opened
// the way the batch opens them, ready for one row pass.

#include <filesystem>
#include <memory>
#include <string>

#include "FakeBatchHost.h"
#include "OpenedTiff.h"
#include "RowPass.h"
#include "TempFolder.h"
#include "TiffBuilder.h"

struct RowPassRig {
    TempFolder dir;
    testing_tiff::TiffSpec subject, white;
    std::shared_ptr<TiffFile> subjectTiff, whiteTiff;
    std::shared_ptr<BinaryStream> output;
    std::shared_ptr<Picture> presult;

    std::string SubjectPath() const { return dir / "subject.tif"; }
    std::string OutputPath() const { return dir / "out_eq.tif"; }

    RowPassEnd Run(double target, FakeBatchHost& host) {
        testing_tiff::WriteFile(SubjectPath(), testing_tiff::BuildTiff(subject).bytes);
        testing_tiff::WriteFile(dir / "white.tif", testing_tiff::BuildTiff(white).bytes);
        std::filesystem::copy_file(SubjectPath(), OutputPath(),
                                   std::filesystem::copy_options::overwrite_existing);
        subjectTiff = OpenedTiff(SubjectPath());
        whiteTiff = OpenedTiff(dir / "white.tif");
        output = BinaryStream::Open(FolderItem(OutputPath()), true);
        const RowPassFiles files{*subjectTiff, *whiteTiff->imagefile, whiteTiff->ImageOffset,
                                 *output, "out_eq.tif"};
        return RunRowPass(files, target, host, presult);
    }
    std::string Output() const { return testing_tiff::ReadFile(OutputPath()); }
};

#include "CardSource.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <limits>

#include "CardReader.h"
#include "Correction.h"
#include "DecodedRows.h"
#include "PreviewGeometry.h"
#include "TiffOpening.h"
#include "UnnamedFile.h"

namespace {
std::string SizeText(const LibtiffFile& image) {
    return std::to_string(image.width) + "x" + std::to_string(image.height) + " " +
           std::to_string(image.bits) + "-bit";
}

std::vector<std::uint8_t> ProfileOf(const LibtiffFile& file) {
    std::uint32_t length = 0;
    const std::uint8_t* data = nullptr;
    std::vector<std::uint8_t> icc;
    if (file.Handle() && TIFFGetField(file.Handle(), TIFFTAG_ICCPROFILE, &length, &data) && data)
        icc.assign(data, data + length);
    return icc;
}

constexpr const char* kIncompleteText =
    "Error: The white card image data is incomplete: the file ends before its last pixel row.";

std::string NoPixelsText(std::int64_t width, std::int64_t height) {
    return "Error: The white card image has no pixels: " + std::to_string(width) + " x " +
           std::to_string(height) + " pixels";
}

// The kind of numbers a file's own rows hold where they stand in it.
SampleKind KindOf(int bits, bool littleEndian) {
    if (bits == 8) return SampleKind::U8;
    return littleEndian == kHostLittleEndian ? SampleKind::U16 : SampleKind::U16Swapped;
}

// A row of any kind as doubles, 3 a pixel.
void AsValues(const SampleRow& row, std::size_t values, double* out) {
    WithKind(row.kind, [&](auto kind) {
        for (std::size_t i = 0; i < values; ++i)
            out[i] = LoadAs<decltype(kind)::value>(row.data, i);
    });
}

// Adds a row of whole samples to the running sums (or, with set, puts it there).
void AddSamples(const SampleRow& row, std::size_t values, std::uint32_t* sums, bool set) {
    WithKind(row.kind, [&](auto kind) {
        constexpr SampleKind K = decltype(kind)::value;
        if constexpr (K != SampleKind::F64)
            for (std::size_t i = 0; i < values; ++i)
                sums[i] = (set ? 0 : sums[i]) + LoadWhole<K>(row.data, i);
    });
}
}  // namespace

// The one pass that makes a card: the files opened and judged, their rows
// read once in lockstep, combined, kept for the subjects, and measured.
class CardBuild {
  public:
    CardBuild(const CorrectionModes& modes, const TiffServices& services, CardUse use)
        : services_(services),
          placeEvery_(use == CardUse::ShownPlacingEvery),
          gainsOnly_(use == CardUse::Gains) {
        card_.reset(new CardSource());
        card_->modes_ = modes;
    }

    bool Judge();
    std::shared_ptr<const CardSource> Read();
    const TiffFile& Record() const { return *record_; }
    const CardProblem& Problem() const { return problem_; }

  private:
    bool Refuse(CardVerdict verdict, std::string text) {
        problem_ = {verdict, std::move(text)};
        return false;
    }
    bool OpenFirst();
    bool OpenOnOurReaderAlone(const LibtiffFile& probe, TiffOpening opening);
    bool TakeFirst(const LibtiffFile& probe, TiffOpening opening);
    bool OpenFurther(const std::string& path, const std::string& what,
                     std::unique_ptr<DecodedRows>& rows);
    void TakeProfile(std::vector<std::uint8_t> icc);
    bool Linearise();
    bool MakeStore();
    bool DarkInPlace();
    bool Pass();
    SampleRow Combined(std::uint32_t y);
    bool ReadFailed();
    bool Unwritable();
    void Measure(const SampleRow& combined, std::uint32_t y);
    void Finish();

    TiffServices services_;
    CardProblem problem_;
    bool placeEvery_;
    bool gainsOnly_;
    std::unique_ptr<CardSource> card_;
    std::shared_ptr<TiffFile> record_;
    std::vector<std::unique_ptr<DecodedRows>> shots_;
    std::unique_ptr<DecodedRows> dark_;
    std::unique_ptr<CardReader> direct_;  // a direct card's rows, for the pass
    std::uint32_t width_ = 0, height_ = 0;
    bool straight_ = false;  // the first shot's rows stand in its file as a subject's do
    std::vector<std::uint64_t> strips_;
    std::uint32_t rowsPerStrip_ = 0;
    // One row of the pass: the combined samples or sums and values, the dark
    // frame's samples, the values in linear light.
    std::vector<std::uint32_t> colours_;
    std::vector<std::uint16_t> samples_, darkRow_;
    std::vector<double> values_, linear_;
    RowExtremes shown_;  // of the card as shot, for display
    bool foldSamples_ = false;
    bool storeFailed_ = false;  // the scratch file took no more rows
};

bool CardBuild::Judge() {
    if (!OpenFirst()) return false;
    for (std::size_t k = 1; k < card_->modes_.cards.size(); ++k) {
        const std::string& path = card_->modes_.cards[k];
        shots_.emplace_back();
        if (!OpenFurther(path, "the white card " + path, shots_.back())) return false;
    }
    const std::string& dark = card_->modes_.dark;
    if (!dark.empty() && !OpenFurther(dark, "the dark frame " + dark, dark_)) return false;
    return Linearise();
}

std::shared_ptr<const CardSource> CardBuild::Read() {
    if (!card_ || !MakeStore() || !Pass()) return nullptr;
    Finish();
    return std::shared_ptr<const CardSource>(card_.release());
}

// The first shot is the card as the window opens it: what neither libtiff
// nor our reader takes keeps our reader's outcome, with its strip test first.
bool CardBuild::OpenFirst() {
    const std::string& path = card_->modes_.cards.front();
    record_ = std::make_shared<TiffFile>(services_);
    const TiffOpening opening = OpenTiffPath(*record_, path);
    if (opening == TiffOpening::Missing || opening == TiffOpening::Unopenable)
        return Refuse(CardVerdict::Missing, "Error: The white card file can't be opened: " + path);
    const LibtiffFile probe(path, "rmc");
    if (!probe.Handle()) return OpenOnOurReaderAlone(probe, opening);
    return TakeFirst(probe, opening);
}

// The strip test comes before any look at our reader's verdict, so a file it
// refused with unequal height and rows per strip is reported as not being
// one strip.
bool CardBuild::OpenOnOurReaderAlone(const LibtiffFile& probe, TiffOpening opening) {
    const TiffFile& r = *record_;
    if (r.ImageHeight != r.RowsPerStrip)
        return Refuse(CardVerdict::NotOneStrip,
                      "Error: The white card image must be in one contiguous strip");
    if (Parsed(opening) && (r.ImageWidth <= 0 || r.ImageHeight <= 0))
        return Refuse(CardVerdict::NoPixels, NoPixelsText(r.ImageWidth, r.ImageHeight));
    if (!Parsed(opening)) return Refuse(CardVerdict::NotOpened, r.errstr);
    if (opening == TiffOpening::Incomplete) return Refuse(CardVerdict::Incomplete, kIncompleteText);
    // Only rows it can stream as they stand, and the modes read through libtiff.
    const bool plain = (r.BytesPerPixel == 3 || r.BytesPerPixel == 6) && r.SamplesPerPixel == 3 &&
                       r.Compression <= 1 && r.BitsPerSample == r.BytesPerPixel / 3 * 8;
    if (!plain || card_->modes_.cards.size() > 1 || !card_->modes_.dark.empty())
        return Refuse(CardVerdict::Unusable,
                      "Error: The white card can't be used: libtiff can't read it" +
                          (probe.Error().empty() ? std::string() : ": " + probe.Error()));
    width_ = static_cast<std::uint32_t>(r.ImageWidth);
    height_ = static_cast<std::uint32_t>(r.ImageHeight);
    card_->bits_ = static_cast<int>(r.BitsPerSample);
    TakeProfile({});
    straight_ = true;
    strips_ = {static_cast<std::uint64_t>(r.ImageOffset)};
    rowsPerStrip_ = height_;
    return true;
}

// A file libtiff reads: its size and depth as libtiff sees them, its rows
// straight from the file where they stand there as a subject's do.
bool CardBuild::TakeFirst(const LibtiffFile& probe, TiffOpening opening) {
    if (probe.width == 0 || probe.height == 0)
        return Refuse(CardVerdict::NoPixels, NoPixelsText(probe.width, probe.height));
    if (const std::string unusable = probe.Unusable(); !unusable.empty())
        return Refuse(CardVerdict::Unusable,
                      "Error: The white card can't be used: this is " + unusable);
    if (opening == TiffOpening::Incomplete && probe.OneStripPlain())
        return Refuse(CardVerdict::Incomplete, kIncompleteText);
    // A row is worked on as doubles in several buffers at once: one longer
    // than a held chunk comes from no camera or scanner, only from a file
    // that would take all memory before its strips were even looked at.
    if (std::uint64_t{probe.width} * 3 * sizeof(double) > LibtiffFile::kHeldChunk)
        return Refuse(CardVerdict::Unusable, "Error: The white card can't be used: its rows of " +
                                                 std::to_string(probe.width) +
                                                 " pixels are too long");
    width_ = probe.width;
    height_ = probe.height;
    card_->bits_ = probe.bits;
    TiffFile& r = *record_;
    r.ImageWidth = width_;
    r.ImageHeight = height_;
    r.BitsPerSample = probe.bits;
    r.BytesPerPixel = 3 * static_cast<std::int64_t>(probe.SampleBytes());
    r.BytesPerRow = r.BytesPerPixel * r.ImageWidth;
    r.PixelCount = r.ImageWidth * r.ImageHeight;
    r.LittleEndian = !probe.bigEndian;
    straight_ = probe.RowsInPlace() && probe.planar == PLANARCONFIG_CONTIG && probe.samples == 3;
    rowsPerStrip_ = std::min(probe.rowsPerStrip, probe.height);
    for (std::uint32_t k = 0; straight_ && k < probe.Chunks(); ++k) {
        const LibtiffFile::Place place = probe.PlaceOf(k);
        if (std::string problem = probe.ChunkProblem(k, std::uint64_t{place.rows} * place.rowBytes);
            !problem.empty())
            return Refuse(CardVerdict::Undecodable,
                          "Error: The white card's pixels can't be decoded: " + problem);
        strips_.push_back(TIFFGetStrileOffset(probe.Handle(), k));
    }
    TakeProfile(ProfileOf(probe));
    if (straight_ && card_->modes_.cards.size() == 1 && card_->modes_.dark.empty()) return true;
    shots_.push_back(std::make_unique<DecodedRows>(card_->modes_.cards.front()));
    return true;
}

// Every further shot and the dark frame must have the first shot's size and depth.
bool CardBuild::OpenFurther(const std::string& path, const std::string& what,
                            std::unique_ptr<DecodedRows>& rows) {
    rows = std::make_unique<DecodedRows>(path);
    const LibtiffFile& image = rows->Image();
    if (!rows->Opened())
        return Refuse(
            CardVerdict::Mismatched,
            what + " can't be read" + (image.Error().empty() ? "" : ": " + image.Error()));
    if (const std::string unusable = image.Unusable(); !unusable.empty())
        return Refuse(CardVerdict::Mismatched, what + " can't be used: this is " + unusable);
    if (image.width != width_ || image.height != height_ || image.bits != card_->bits_)
        return Refuse(CardVerdict::Mismatched,
                      what + " is " + SizeText(image) + ", not " + std::to_string(width_) + "x" +
                          std::to_string(height_) + " " + std::to_string(card_->bits_) +
                          "-bit as the first white card");
    return true;
}

// The profile libtiff read, else the one our reader finds where the file says;
// a file that names one past its end is marked.
void CardBuild::TakeProfile(std::vector<std::uint8_t> icc) {
    TiffFile& r = *record_;
    if (icc.empty() && r.ProfileLength > 0) {
        if (r.ReadProfile())
            icc.assign(r.profileBuffer->Data(), r.profileBuffer->Data() + r.profileBuffer->Size());
        else
            card_->profileUnreadable_ = true;
    }
    card_->profile_ = std::move(icc);
}

bool CardBuild::Linearise() {
    if (!card_->modes_.linear) return true;
    std::string reason;
    auto curves = ToneCurves::FromProfile(card_->profile_, card_->bits_, reason);
    if (!curves)
        return Refuse(CardVerdict::NoCurves,
                      "--linear: the white card" +
                          (reason.starts_with("its ") ? "'s " + reason.substr(4) : " " + reason));
    card_->curves_ = std::make_shared<const ToneCurves>(std::move(*curves));
    return true;
}

// One shot of plain rows and no dark frame is read where it stands; anything
// else is worked out once into a scratch file.
bool CardBuild::MakeStore() {
    const CorrectionModes& modes = card_->modes_;
    if (shots_.empty()) {
        const int fd = ::open(modes.cards.front().c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0)
            return Refuse(CardVerdict::Missing,
                          "Error: The white card file can't be opened: " + modes.cards.front());
        card_->store_ = CardStore::Direct(fd, strips_, rowsPerStrip_, width_, height_,
                                          KindOf(card_->bits_, record_->LittleEndian));
        direct_ = std::make_unique<CardReader>(*card_, 1, true);
    } else {
        const bool darkKept = dark_ && !DarkInPlace();
        const bool greenOnly = gainsOnly_ && modes.channels == GainChannels::Green;
        card_->store_ = CardStore::Scratch(
            width_, height_, shots_.size() > 1 ? CardStore::Plane::Sums : CardStore::Plane::Samples,
            darkKept, greenOnly);
        if (!card_->store_)
            return Refuse(CardVerdict::Unwritable,
                          "Error: No scratch file for the white card can be made in " +
                              ScratchFolder().string());
    }
    if (modes.smoothRadius > 0)
        card_->smoother_ = std::make_unique<CardSmoother>(width_, height_, modes.smoothRadius);
    const ToneCurves* curves = card_->Curves();
    foldSamples_ = shots_.size() <= 1 && !card_->smoother_ &&
                   (!curves || (curves->Rising(0) && curves->Rising(1) && curves->Rising(2)));
    const std::size_t values = std::size_t{width_} * 3;
    colours_.resize(values), samples_.resize(values), darkRow_.resize(values);
    values_.resize(values), linear_.resize(values);
    return true;
}

// The dark frame's rows where they stand in its file, when they stand there
// as 16-bit samples in the host's order, 3 a pixel: the subjects read them
// from there rather than from a copy in the scratch file.
bool CardBuild::DarkInPlace() {
    const LibtiffFile& image = dark_->Image();
    if (!image.RowsInPlace() || image.planar != PLANARCONFIG_CONTIG || image.samples != 3 ||
        image.bits != 16 || image.bigEndian == kHostLittleEndian)
        return false;
    std::vector<std::uint64_t> strips;
    for (std::uint32_t k = 0; k < image.Chunks(); ++k) {
        const LibtiffFile::Place place = image.PlaceOf(k);
        if (!image.ChunkProblem(k, std::uint64_t{place.rows} * place.rowBytes).empty())
            return false;
        strips.push_back(TIFFGetStrileOffset(image.Handle(), k));
    }
    const int fd = ::open(card_->modes_.dark.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return false;
    card_->darkStore_ =
        CardStore::Direct(fd, std::move(strips), std::min(image.rowsPerStrip, height_), width_,
                          height_, SampleKind::U16);
    return true;
}

bool CardBuild::Pass() {
    Progress& bar = *services_.analyzeProgress;
    bar.SetMaximum(height_);
    bar.SetVisible(true);
    for (std::uint32_t y = 0; y < height_; ++y) {
        const SampleRow combined = Combined(y);
        if (!combined) return storeFailed_ ? Unwritable() : ReadFailed();
        Measure(combined, y);
        bar.SetValue(static_cast<double>(y) + 1);
        bar.Refresh();
    }
    bar.SetVisible(false);
    return card_->store_->Finish() || Unwritable();
}

bool CardBuild::Unwritable() {
    return Refuse(CardVerdict::Unwritable,
                  "Error: The scratch file for the white card can't be written in " +
                      ScratchFolder().string());
}

bool CardBuild::ReadFailed() {
    std::string why;
    for (const auto& shot : shots_)
        if (why.empty()) why = shot->Error();
    if (why.empty() && dark_) why = dark_->Error();
    if (why.empty()) why = "the file ends before its last pixel row";
    return Refuse(CardVerdict::Undecodable,
                  "Error: The white card's pixels can't be decoded: " + why);
}

// Row y as the subjects will be corrected by it: one shot less the dark frame
// held at 0, as whole samples; several shots as their sums, and as values
// their average less the dark frame held at 0. Kept in the store on the way.
SampleRow CardBuild::Combined(std::uint32_t y) {
    if (direct_) return direct_->FullRow(y);
    const std::size_t values = std::size_t{width_} * 3;
    const std::uint16_t* dark = nullptr;
    if (dark_) {
        const SampleRow row = dark_->Row(y);
        if (!row) return {};
        AddSamples(row, values, colours_.data(), true);
        std::copy(colours_.begin(), colours_.end(), darkRow_.begin());
        dark = darkRow_.data();
    }
    for (std::size_t k = 0; k < shots_.size(); ++k) {
        const SampleRow row = shots_[k]->Row(y);
        if (!row) return {};
        AddSamples(row, values, colours_.data(), k == 0);
    }
    if (shots_.size() == 1 && dark)
        for (std::size_t i = 0; i < values; ++i)
            colours_[i] = colours_[i] > dark[i] ? colours_[i] - dark[i] : 0;
    if (!card_->store_->Append(colours_.data(), dark)) {
        storeFailed_ = true;
        return {};
    }
    if (shots_.size() == 1) {
        for (std::size_t i = 0; i < values; ++i)
            samples_[i] = static_cast<std::uint16_t>(colours_[i]);
        return {samples_.data(), SampleKind::U16};
    }
    const auto shots = static_cast<double>(shots_.size());
    for (std::size_t i = 0; i < values; ++i) {
        double value = static_cast<double>(colours_[i]) / shots;
        if (dark) {
            const double less = value - dark[i];
            value = less > 0.0 ? less : 0.0;
        }
        values_[i] = value;
    }
    return {values_.data(), SampleKind::F64};
}

// The card's extremes are those of what its gains come from: the values in
// linear light, or the smoothed card's. Curves that rise keep the order of
// whole samples, so a card of one shot is measured in its own samples and
// its ends taken to linear light afterwards, at the same places.
void CardBuild::Measure(const SampleRow& combined, std::uint32_t y) {
    const unsigned placed = placeEvery_ ? 0b111u : 0b010u;
    // In green mode red and blue set no gain; shown, only green is.
    const bool greenOnly = !placeEvery_ && card_->modes_.channels == GainChannels::Green;
    FoldRowExtremes(combined, width_, y, shown_, placed, greenOnly);
    const ToneCurves* curves = card_->Curves();
    if (!card_->smoother_ && (!curves || foldSamples_)) return;
    const std::size_t values = std::size_t{width_} * 3;
    AsValues(combined, values, linear_.data());
    if (curves)
        for (std::size_t i = 0; i < values; ++i)
            linear_[i] = curves->Linear(static_cast<int>(i % 3), linear_[i]);
    if (card_->smoother_)
        card_->smoother_->AddRow(linear_.data());
    else if (!foldSamples_)
        FoldRowExtremes({linear_.data(), SampleKind::F64}, width_, y, card_->extremes_, placed,
                        greenOnly);
}

void CardBuild::Finish() {
    RowExtremes& e = card_->extremes_;
    const ToneCurves* curves = card_->Curves();
    if (card_->smoother_) {
        e = card_->smoother_->Extremes();
    } else if (!curves) {
        e = shown_;
    } else if (foldSamples_) {
        e = shown_;
        for (int c = 0; c < 3; ++c) {
            if (e.min[c] > e.max[c]) continue;  // a channel green mode doesn't fold
            e.max[c] = curves->Linear(c, static_cast<std::uint16_t>(e.max[c]));
            e.min[c] = curves->Linear(c, static_cast<std::uint16_t>(e.min[c]));
        }
    }
    TiffFile& r = *record_;
    r.MaxLuminance = shown_.max[1];
    r.MinLuminance = shown_.min[1];
    if (shown_.max[1] > 0.0) {
        r.pxmax = shown_.maxX[1];
        r.pymax = shown_.maxY[1];
    }
    direct_.reset();
    card_->record_ = record_;
}

CardOpening::CardOpening(std::unique_ptr<CardBuild> build) : build_(std::move(build)) {}
CardOpening::~CardOpening() = default;

const TiffFile& CardOpening::Record() const {
    return build_->Record();
}

std::shared_ptr<const CardSource> CardOpening::Read(CardProblem& problem) {
    auto card = build_->Read();
    problem = build_->Problem();
    return card;
}

std::unique_ptr<CardOpening> CardSource::Judge(const CorrectionModes& modes,
                                               const TiffServices& services, CardProblem& problem,
                                               CardUse use) {
    problem = {};
    if (modes.cards.empty()) return nullptr;
    auto build = std::make_unique<CardBuild>(modes, services, use);
    const bool judged = build->Judge();
    problem = build->Problem();
    return judged ? std::make_unique<CardOpening>(std::move(build)) : nullptr;
}

std::shared_ptr<const CardSource> CardSource::Open(const CorrectionModes& modes,
                                                   const TiffServices& services,
                                                   CardProblem& problem, CardUse use) {
    const auto opening = Judge(modes, services, problem, use);
    return opening ? opening->Read(problem) : nullptr;
}

std::shared_ptr<const ToneCurves> CardSource::CurvesOf(const LibtiffFile& file,
                                                       const std::string& whose,
                                                       std::string& why) const {
    const std::vector<std::uint8_t> icc = ProfileOf(file);
    if (curves_ && file.bits == bits_ && icc == profile_) return curves_;
    std::string reason;
    auto curves = ToneCurves::FromProfile(icc, file.bits, reason);
    if (!curves) {
        why = "--linear: " + whose +
              (reason.starts_with("its ") ? "'s " + reason.substr(4) : " " + reason);
        return nullptr;
    }
    return std::make_shared<const ToneCurves>(std::move(*curves));
}

std::shared_ptr<Picture> CardSource::Preview(std::int64_t width, std::int64_t height) const {
    CardReader rows(*this, 1, true);
    return DecimatedPicture(
        Width(), Height(), Width(), Bits() == 8, width, height,
        [&rows](std::int64_t y) { return rows.FullRow(static_cast<std::uint32_t>(y)); });
}

CardRun::CardRun(std::shared_ptr<const CardSource> card, double amountToApply)
    : card_(std::move(card)) {
    const RowExtremes& e = card_->Extremes();
    const CorrectionModes& modes = card_->Modes();
    for (std::size_t c = 0; c < 3; ++c)
        rule_.target[c] = ::TargetLevel(e.max[c], e.min[c], amountToApply);
    rule_.rgb = modes.channels == GainChannels::Rgb;
    rule_.darken = modes.darken;
    if (modes.maxGain) rule_.cap = *modes.maxGain;
    if (card_->FromSamples() && card_->Curves())
        table_.emplace(rule_, card_->Bits(), card_->Curves());
}

std::pair<double, double> CardRun::GainRange() const {
    const RowExtremes& e = card_->Extremes();
    const double extremes[6] = {e.max[0], e.max[1], e.max[2], e.min[0], e.min[1], e.min[2]};
    double gains[6] = {};
    rule_.Gains({extremes, SampleKind::F64}, 2, gains);
    const std::size_t per = rule_.GainsPerPixel();
    return {*std::min_element(gains, gains + per), *std::max_element(gains + per, gains + 2 * per)};
}

#include <AncillaryKitoOperators/RekTypeReader>

#include <Kito/IOperator>

#include <cstddef>
#include <fstream>
#include <ios>
#include <stdexcept>

template class Tarn::Kito::Factory::StaticFactorySubscriber<Tarn::Kito::Factory::DefaultClassFactory,
                                                            Tarn::AncillaryKitoOperators::RekTypeReader::Operator>;

namespace Tarn::AncillaryKitoOperators::RekTypeReader {

using Tarn::Kito::Dimension;
using Tarn::Kito::SizeType;
using Tarn::Kito::SmartPointer;

namespace {

const char* const typeText = "Tarn::AncillaryKitoOperators::RekTypeReader::Operator";

/// "<operator> <reason>": the reason texts carry their own leading blank.
std::string failure(const char* reason) { return std::string(typeText) + reason; }

bool isSeparator(char c) { return c == '\\' || c == '/'; }

bool isAllowedByte(unsigned char c, std::size_t index)
{
    if (c == ':') return index == 1;
    if (c >= ' ' && c <= '~') return c != '*' && c != '<' && c != '=' && c != '>' && c != '?' && c != '|';
    switch (c) {
    case 0xb5: case 0xc4: case 0xd6: case 0xdc: case 0xdf: case 0xe4: case 0xf6: case 0xfc:
        return true;
    default:
        return false;
    }
}

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// One of the three extents of a header, and whether its voxels fill the payload exactly.
struct Candidate {
    Dimension<SizeType> extent;
    bool fits = false;
};

/// fields, or (0, 0, 0) if any is zero; its byte size by Dimension::size, whose overflow failure
/// stands, times the voxel size, where a product past 64 bits matches no file.
Candidate candidateOf(Tarn::int64 prim, Tarn::int64 sec, Tarn::int64 tert, SizeType voxelSize, SizeType payload)
{
    Candidate result;
    if (prim == 0 || sec == 0 || tert == 0) return result;
    result.extent = Dimension<SizeType>(static_cast<SizeType>(prim), static_cast<SizeType>(sec), static_cast<SizeType>(tert));
    SizeType bytes = 0;
    result.fits = Tarn::Kito::detail::multiplyWithoutOverflow(result.extent.size(), voxelSize, bytes) && bytes == payload;
    return result;
}

/// The voxel type of a header code, by name and size; false for a code outside the table.
bool voxelTypeOf(Tarn::int16 code, std::string& name, SizeType& size)
{
    switch (code) {
    case 7: name = "Tarn::int8"; size = 1; return true;
    case 8: name = "Tarn::uint8"; size = 1; return true;
    case 15: name = "Tarn::int16"; size = 2; return true;
    case 16: name = "Tarn::uint16"; size = 2; return true;
    case 31: name = "Tarn::int32"; size = 4; return true;
    case 32: name = "Tarn::uint32"; size = 4; return true;
    case 63: name = "Tarn::int64"; size = 8; return true;
    case 64: name = "Tarn::uint64"; size = 8; return true;
    case 24: name = "Tarn::float32"; size = 4; return true;
    case 53: name = "Tarn::float64"; size = 8; return true;
    default: return false;
    }
}

/// The extent that the votes of the three candidates settle on.
Dimension<SizeType> chooseExtent(const Candidate& image, const Candidate& reko, const Candidate& slice)
{
    const auto agree = [](const Candidate& a, const Candidate& b) {
        if (a.extent != b.extent) throw std::runtime_error(failure(" the dimensions specified in the header are ambiguous"));
    };
    if (image.fits) {
        if (reko.fits) agree(image, reko);
        if (slice.fits) agree(image, slice);
        return image.extent;
    }
    if (reko.fits) {
        if (slice.fits) agree(reko, slice);
        return reko.extent;
    }
    if (slice.fits) return slice.extent;
    throw std::runtime_error(failure(" file size does not fit to the dimensions specified in the header"));
}

} // namespace

bool isValidFileName(const std::string& name)
{
    if (name.empty()) return false;
    for (std::size_t i = 0; i < name.size(); ++i)
        if (!isAllowedByte(static_cast<unsigned char>(name[i]), i)) return false;
    if (name.find("\\\\", 1) != std::string::npos || name.find("//", 1) != std::string::npos) return false;
    if (name.size() < 2 || name[1] != ':') {
        const bool network = name.compare(0, 2, "\\\\") == 0 || name.compare(0, 2, "//") == 0;
        if (!network) return true;
        // A separator after the server's name, with something behind it.
        for (std::size_t i = 2; i + 1 < name.size(); ++i)
            if (isSeparator(name[i])) return true;
        return false;
    }
    if (!isLetter(name[0])) return false;
    return name.size() < 3 || isSeparator(name[2]);
}

Operator::Operator() = default;
Operator::Operator(const Operator& other) : IComposite(), AncillaryKitoOperators::Operator<Operator>(other) {}
Operator::~Operator() = default;

std::string Operator::getType() const { return typeText; }

void Operator::apply(SmartPointer<Tarn::Kito::Persistence::IComposite> parameterObject)
{
    startRun();
    const SmartPointer<Parameter> parameter = Tarn::Kito::DynamicCast<SmartPointer<Parameter>>(parameterObject);
    if (parameter == 0)
        throw Tarn::Kito::IOperator::InvalidParameterObjectException("Tarn::AncillaryKitoOperators::RekTypeReader::Operator::apply");
    const std::string fileName = parameter->inputFilename.getValue();
    if (fileName.empty()) throw std::invalid_argument(failure(" input filename is empty"));
    if (!isValidFileName(fileName)) throw std::invalid_argument(failure(" input filename is invalid"));

    // The stream closes the file as it goes out of scope, on every path out of here.
    std::ifstream file(fileName, std::ios::binary);
    if (!file.is_open()) throw std::runtime_error(failure(" failed to open file"));
    file.seekg(0, std::ios::end);
    const std::streamoff end = file.tellg();
    file.seekg(0, std::ios::beg);
    const SizeType headerSize = sizeof(Tarn::RecHeader_V260);
    // A header without a single voxel behind it describes nothing that could be loaded.
    if (!file || end < 0 || static_cast<SizeType>(end) < headerSize + 1)
        throw std::runtime_error(failure(" file is smaller than the REK header"));
    const SizeType fileSize = static_cast<SizeType>(end);

    Tarn::RecHeader_V260 header;
    file.read(reinterpret_cast<char*>(&header), static_cast<std::streamsize>(headerSize));
    if (file.gcount() != static_cast<std::streamsize>(headerSize))
        throw std::runtime_error(failure(" failed to read REK header"));
    const SmartPointer<Header> composite(new Header(header));

    std::string voxelType;
    SizeType voxelSize = 0;
    if (!voxelTypeOf(header.voxelTypeCode, voxelType, voxelSize)) throw std::runtime_error(failure(" unknown voxel type"));

    const SizeType payload = fileSize - headerSize;
    const Candidate image = candidateOf(header.imagePrim, header.imageSec, header.imageTert, voxelSize, payload);
    const Candidate reko = candidateOf(header.rekoPrim, header.rekoSec, header.rekoTert, voxelSize, payload);
    const Candidate slice = candidateOf(header.slicePrim, header.sliceSec, 1, voxelSize, payload);
    const Dimension<SizeType> extent = chooseExtent(image, reko, slice);

    parameter->outputVoxelType.setValue(voxelType);
    parameter->outputDimension.setValue(extent);
    parameter->outputHeader.setValue(composite);
    file.close();
}

} // namespace Tarn::AncillaryKitoOperators::RekTypeReader

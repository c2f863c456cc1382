// DirectionalDemo: the demo's case for unrolling along the normals, on a surface too steep to be
// flattened straight down.
#ifndef LUMO_TOOLS_DIRECTIONALDEMO_H_INCLUDED
#define LUMO_TOOLS_DIRECTIONALDEMO_H_INCLUDED

#include <string>

namespace LumoTool {

/// Makes the built-in cylinder segment, its height map along tert and, from that, its normals;
/// flattens it straight down (IOrthogonalPlanarisationOperator) and unrolls it along the normals
/// (IDirectionalPlanarisationOperator); writes the slice of each at the writing's depth side by
/// side, orthogonal on the left, to orthogonal-vs-directional.png in directory, which must exist.
/// Prints what it did, under the number 4 of the demo's list, and gives the path of the image.
/// Library failures pass through as the exceptions the facades throw.
std::string writeDirectionalDemo(const std::string& directory);

} // namespace LumoTool

#endif

#pragma once
// The text report of "diskutil cs list", read by its labels: the report is
// cut into chunks at "Logical Volume Group ", each group chunk at
// "Physical Volume " and "Logical Volume Family ", each family chunk at
// "Logical Volume ". A node's fields come from the head of its chunk (up to
// the first "+-", which opens its first child). Pure functions of text.
#include <cstddef>
#include <string>
#include <string_view>

#include "disks/VolumeInfo.h"

namespace vork::disks {

// The text after the label at position up to the label's next occurrence
// (or the end); position moves to that occurrence, or npos when there is none.
std::string_view nextChunkWithLabel(std::string_view label, std::string_view data, size_t &position);

// The stripped text from after startDelimiter (searched from start; "" when
// absent) to endDelimiter (or the end). Without a start delimiter the text
// runs from start. nextLocation receives the position after endDelimiter.
std::string fieldFromData(std::string_view data, size_t start, const char *startDelimiter,
                          std::string_view endDelimiter, size_t *nextLocation = nullptr);

// Fills node's fields from the head of its chunk and sets its parents.
void parseVolumeInfo(VolumeInfo &node, std::string_view chunk, const VolumeInfoPtr &parent);

// The logical volume groups of the report, in report order, with their trees.
VolumeList parseCoreStorageReport(std::string_view report);

}  // namespace vork::disks

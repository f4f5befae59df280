#pragma once

#include <zelmo/GrabResultPtr.h>
#include <zelmo/Image.h>

#include <memory>
#include <utility>

namespace Zelmo {

/// Whether @p data is the only reference to its record, and the record the only holder of its buffer.
bool IsUniqueGrabResult(const std::shared_ptr<CGrabResultData>& data) noexcept;

/// The image view of a grab result.
/// @tparam Data how the result is held; a reference makes a view that follows it.
template <typename Data>
class CGrabResultPtrImageT;

/// The body of a CGrabResultPtr: the result, and a view that always shows it.
class CGrabResultPtrImpl;

} // namespace Zelmo

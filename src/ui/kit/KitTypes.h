#pragma once

namespace quillmarsh {

/// Makes the kit known to QML: the C++ types as module "Quillmarsh.Kit 1.0", used by the controls that views
/// import from "qrc:/quillmarsh/kit". Calling it again does nothing.
void registerKitTypes();

} // namespace quillmarsh

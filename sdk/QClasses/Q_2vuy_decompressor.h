// The toolkit's own 2vuy conversion as the platform's decompressor of best speed.
#pragma once

/// Whether the decompressors for '2vuy' and 'yuvs' into 32-bit ARGB are registered. They are from
/// the loading of the module that carries the toolkit to its unloading.
bool Q_2vuy_DecompressorsAreRegistered();

// The mappings of whole pools.
#pragma once

// Forgets all mappings.
void vbMapForget();

#pragma once

/// Has a stack that carries a text for screen readers read as one element, without its children. May be
/// called again.
void installAccessibility();

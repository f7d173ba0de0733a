#!/bin/sh
# tests/scripts/pytest.sh: the Python package's tests against the built library, with the given
# interpreter; exit status 77 (skipped) when it lacks NumPy, SciPy or pytest.
# Usage: pytest.sh PYTHON PACKAGEDIR, with VELOR_LIBRARY and VLR_DATA_DIR in the environment.
# SPDX-License-Identifier: Apache-2.0
py="$1"
dir="$2"
if [ ! -x "$py" ] || ! "$py" -c "import numpy, scipy, pytest" 2>/dev/null; then
  echo "python_package: $py lacks numpy, scipy or pytest (Debian: python3-numpy python3-scipy"
  echo "python3-pytest); skipped"
  exit 77
fi
PYTHONDONTWRITEBYTECODE=1 exec "$py" -m pytest -q -p no:cacheprovider "$dir/tests"

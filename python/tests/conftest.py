# python/tests/conftest.py: the package from this source tree, and where the data lives.
# SPDX-License-Identifier: Apache-2.0
import os
import pathlib
import sys

import pytest

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parent.parent
sys.path.insert(0, str(HERE.parent))  # python/, so that "import velor" takes this tree's package


@pytest.fixture(scope="session")
def example():
    return ROOT / "examples" / "transport.mps"


@pytest.fixture(scope="session")
def data_dir():
    d = pathlib.Path(os.environ.get("VLR_DATA_DIR", ROOT.parent / "shared" / "data"))
    if not (d / "netlib" / "OPTIMA.csv").is_file():
        pytest.skip(f"no Netlib data at {d}")
    return d

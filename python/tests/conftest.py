import os

import numpy as np
import pytest


@pytest.fixture
def rng():
    return np.random.default_rng(20261123)


@pytest.fixture(scope="session")
def krocolor_cli():
    """The krocolor command line of the C++ build (scripts/ci.d/python.sh
    names it), whose output is the reference for the binding's."""
    path = os.environ.get("KROCOLOR_CLI")
    if not path or not os.access(path, os.X_OK):
        pytest.skip("KROCOLOR_CLI does not name the built krocolor program")
    return path

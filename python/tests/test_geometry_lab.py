import numpy as np
import pytest

import krocolor


def _exif(a, orientation):
    # The stored image as it must be shown for each EXIF orientation.
    t = np.swapaxes(a, 0, 1)
    return {1: a, 2: a[:, ::-1], 3: a[::-1, ::-1], 4: a[::-1], 5: t, 6: t[:, ::-1], 7: t[::-1, ::-1],
            8: t[::-1]}[orientation]


@pytest.mark.parametrize("orientation", range(1, 9))
def test_rotate_follows_the_exif_orientations(rng, orientation):
    rgba = rng.integers(0, 256, (6, 10, 4), dtype=np.uint8)
    (result,) = krocolor.rotate([rgba], "rgba", orientation)
    assert np.array_equal(result, _exif(rgba, orientation))


def test_crop_cuts_every_plane_of_the_rectangle(rng):
    y = rng.integers(0, 256, (24, 32), dtype=np.uint8)
    u, v = (rng.integers(0, 256, (12, 16), dtype=np.uint8) for _ in range(2))
    out = krocolor.crop([y, u, v], "yuv420p", 4, 6, 16, 10)
    assert np.array_equal(out[0], y[6:16, 4:20])
    assert np.array_equal(out[1], u[3:8, 2:10]) and np.array_equal(out[2], v[3:8, 2:10])
    with pytest.raises(ValueError, match="not inside 32x24"):
        krocolor.crop([y, u, v], "yuv420p", 20, 0, 16, 10)


def _srgb_lab(rgb):
    # IEC 61966-2-1 curve, the sRGB matrix and CIE L*a*b* with a D65 white.
    c = np.asarray(rgb, float)
    lin = np.where(c < 0.04045, c / 12.92, ((c + 0.055) / 1.055) ** 2.4)
    m = np.array([[0.4123908, 0.3575843, 0.1804808], [0.212639, 0.7151687, 0.0721923],
                  [0.0193308, 0.1191948, 0.9505322]])
    xyz = m @ lin / np.array([0.950456, 1.0, 1.088754])
    f = np.where(xyz > 0.008856, np.cbrt(xyz), 7.787 * xyz + 16 / 116)
    return 116 * f[1] - 16, 500 * (f[0] - f[1]), 200 * (f[1] - f[2])


@pytest.mark.parametrize("rgb", [(1, 1, 1), (0.5, 0.25, 0.75), (0.9, 0.1, 0.02)])
def test_lab_of_srgb_colours(rgb):
    assert krocolor.lab(*rgb) == pytest.approx(_srgb_lab(rgb), abs=2e-3)

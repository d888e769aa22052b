import io

import numpy as np
import pytest
from PIL import Image, ImageCms

import krocolor


def _lcms_profile(name):
    if name == "srgb":
        return ImageCms.createProfile("sRGB")
    return ImageCms.ImageCmsProfile(io.BytesIO(krocolor.embedded_profile(name)))


@pytest.mark.parametrize("src,dst,given_as", [
    ("srgb", "displayp3", "name"),
    ("displayp3", "srgb", "bytes"),
    ("srgb", "adobergb", "path"),
    ("adobergb", "displayp3", "name"),
])
def test_icc_conversion_agrees_with_little_cms(rng, tmp_path, src, dst, given_as):
    rgb = rng.integers(0, 256, (37, 53, 3), dtype=np.uint8)

    def given(name):
        if name == "srgb" or given_as == "name":
            return name
        data = krocolor.embedded_profile(name)
        if given_as == "bytes":
            return data
        path = tmp_path / f"{name}.icc"
        path.write_bytes(data)
        return str(path)

    (ours,) = krocolor.icc([rgb], "rgb24", "rgba", src_profile=given(src), dst_profile=given(dst))
    transform = ImageCms.buildTransform(_lcms_profile(src), _lcms_profile(dst), "RGB", "RGB",
                                        renderingIntent=ImageCms.Intent.RELATIVE_COLORIMETRIC,
                                        flags=ImageCms.Flags.NOOPTIMIZE)
    theirs = np.asarray(ImageCms.applyTransform(Image.fromarray(rgb), transform))
    assert ours.shape == (37, 53, 4) and (ours[..., 3] == 255).all()
    assert np.abs(ours[..., :3].astype(int) - theirs).max() <= 1


def test_embedded_profiles_are_display_p3_and_adobe_rgb():
    # The C++ suite checks their contents; the sizes tell the two apart.
    assert [len(krocolor.embedded_profile(n)) for n in ("displayp3", "adobergb")] == [536, 560]

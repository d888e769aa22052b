// Full-screen quad: positions pass through, texture coordinates are handed
// to the fragment program unchanged (v = 1 at the top, so source row 0 lands
// in destination row 0 without a flip).
attribute vec4 aPosition;
attribute vec2 aTexCoord;
varying vec2 vTexCoord;

void main() {
    gl_Position = aPosition;
    vTexCoord = aTexCoord;
}

// The image primitives the styles and the fill stand on.

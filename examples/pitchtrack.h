/* A frame-by-frame pitch and formant tracker built on zemsr: F0 and voicing from the
 * least-squares periodicity of a 40 ms frame taken down to 8 kHz, checked against the
 * half period by normalised cross-correlation; the first two formants as the first two
 * peaks of the LP envelope 1/|A| (order 18 at 16 kHz, through the LP spectrum). */
#ifndef ZEMSR_EXAMPLE_PITCHTRACK_H
#define ZEMSR_EXAMPLE_PITCHTRACK_H

#ifdef __cplusplus
extern "C" {
#endif

#define TRACK_RATE 16000
#define TRACK_FRAME 640 /* 40 ms at 16 kHz */
#define TRACK_HOP 160   /* 10 ms */

typedef struct {
    float f0;          /* Hz, 0 when unvoiced */
    float periodicity; /* 0 .. 1 */
    float f1, f2;      /* Hz, 0 when not found */
} TrackFrame;

/* Analyses TRACK_FRAME samples at 16 kHz.  Returns 0 on success. */
int trackFrame(const short* samples, TrackFrame* out);

#ifdef __cplusplus
}
#endif

#endif

/* A noise-robust chain built on zemsr: per 10 ms frame, the power spectrum of a 20 ms Hann
 * window (512-point transform), the noise power tracked by MCRA, the Ephraim-Malah gain
 * from a decision-directed a priori ratio through the Wiener rule, overlap-add of the
 * cleaned frames, and the Aurora voice activity decision on 25 mel bands and 64 spectrum
 * values of the cleaned frame. */
#ifndef ZEMSR_EXAMPLE_ROBUSTCHAIN_H
#define ZEMSR_EXAMPLE_ROBUSTCHAIN_H

#ifdef __cplusplus
extern "C" {
#endif

#define RC_RATE 16000
#define RC_FRAME 320 /* 20 ms */
#define RC_HOP 160   /* 10 ms */
#define RC_FFT 512

/* Frames of a signal of n samples: one per hop whose window fits. */
int rcFrames(int n);

/* Runs the chain over n samples at 16 kHz.  decisions (rcFrames(n) entries) receives the
 * voice activity decision per frame (1 speech, 2 noise, 4 undecided), the frames the ring
 * still holds at the end included; enhanced (n samples, or NULL) the cleaned signal.
 * Returns 0 on success. */
int rcProcess(const short* x, int n, int* decisions, short* enhanced);

/* Segmental SNR in dB of y against the reference x over the frames the mask marks (mask
 * NULL: all frames), each frame's SNR held to -10 .. 35 dB. */
double rcSegmentalSnr(const short* x, const short* y, int n, const unsigned char* mask);

#ifdef __cplusplus
}
#endif

#endif

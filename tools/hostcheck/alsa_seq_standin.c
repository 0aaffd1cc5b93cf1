/* A stand-in for the ALSA sequencer, preloaded into Qtractor where the
 * container has no /dev/snd/seq: Qtractor will not start its audio engine
 * without a sequencer, though the checks here need no MIDI at all. Opening
 * gives a handle that only this file understands; every call on it succeeds
 * and nothing ever arrives. The handle-free helpers (info records, sizes)
 * stay the real library's.
 * Needs no ALSA headers: the records stay opaque, and the real library's
 * helpers are found in the process that preloads this.
 * Build: cc -shared -fPIC -o alsa_seq_standin.so alsa_seq_standin.c */
#include <errno.h>
#include <poll.h>
#include <stddef.h>
#include <string.h>
#include <unistd.h>

typedef struct snd_seq snd_seq_t;
typedef struct snd_seq_event snd_seq_event_t;
typedef struct snd_seq_port_info snd_seq_port_info_t;
typedef struct snd_seq_client_info snd_seq_client_info_t;
typedef struct snd_seq_query_subscribe snd_seq_query_subscribe_t;
typedef struct snd_seq_port_subscribe snd_seq_port_subscribe_t;
typedef struct snd_seq_queue_status snd_seq_queue_status_t;
typedef struct snd_seq_queue_tempo snd_seq_queue_tempo_t;
typedef struct snd_seq_queue_timer snd_seq_queue_timer_t;
typedef struct snd_seq_remove_events snd_seq_remove_events_t;

/* From the real library. */
void snd_seq_port_info_set_port(snd_seq_port_info_t *info, int port);
size_t snd_seq_queue_status_sizeof(void);
size_t snd_seq_queue_tempo_sizeof(void);
void snd_seq_queue_tempo_set_tempo(snd_seq_queue_tempo_t *info, unsigned int tempo);
void snd_seq_queue_tempo_set_ppq(snd_seq_queue_tempo_t *info, int ppq);
void snd_seq_queue_tempo_set_skew(snd_seq_queue_tempo_t *info, unsigned int skew);
void snd_seq_queue_tempo_set_skew_base(snd_seq_queue_tempo_t *info, unsigned int base);

static char fake_handle;
static int silent_pipe[2] = {-1, -1};
static int next_queue;

int snd_seq_open(snd_seq_t **handle, const char *name, int streams, int mode) {
    (void)name, (void)streams, (void)mode;
    /* Input threads poll this pipe; nobody writes to it. */
    if (silent_pipe[0] < 0 && pipe(silent_pipe) != 0) return -errno;
    *handle = (snd_seq_t *)&fake_handle;
    return 0;
}
int snd_seq_close(snd_seq_t *seq) { (void)seq; return 0; }
int snd_seq_client_id(snd_seq_t *seq) { (void)seq; return 128; }
int snd_seq_set_client_name(snd_seq_t *seq, const char *name) { (void)seq, (void)name; return 0; }

static int next_port;
int snd_seq_create_simple_port(snd_seq_t *seq, const char *name, unsigned int caps, unsigned int type) {
    (void)seq, (void)name, (void)caps, (void)type;
    return next_port++;
}
int snd_seq_delete_simple_port(snd_seq_t *seq, int port) { (void)seq, (void)port; return 0; }
int snd_seq_get_port_info(snd_seq_t *seq, int port, snd_seq_port_info_t *info) {
    (void)seq;
    snd_seq_port_info_set_port(info, port);
    return 0;
}
int snd_seq_set_port_info(snd_seq_t *seq, int port, snd_seq_port_info_t *info) {
    (void)seq, (void)port, (void)info;
    return 0;
}
int snd_seq_get_any_client_info(snd_seq_t *seq, int client, snd_seq_client_info_t *info) {
    (void)seq, (void)client, (void)info;
    return -ENOENT;
}
int snd_seq_get_any_port_info(snd_seq_t *seq, int client, int port, snd_seq_port_info_t *info) {
    (void)seq, (void)client, (void)port, (void)info;
    return -ENOENT;
}
/* No other clients, ports or subscribers. */
int snd_seq_query_next_client(snd_seq_t *seq, snd_seq_client_info_t *info) { (void)seq, (void)info; return -ENOENT; }
int snd_seq_query_next_port(snd_seq_t *seq, snd_seq_port_info_t *info) { (void)seq, (void)info; return -ENOENT; }
int snd_seq_query_port_subscribers(snd_seq_t *seq, snd_seq_query_subscribe_t *subs) { (void)seq, (void)subs; return -ENOENT; }
int snd_seq_subscribe_port(snd_seq_t *seq, snd_seq_port_subscribe_t *sub) { (void)seq, (void)sub; return 0; }
int snd_seq_unsubscribe_port(snd_seq_t *seq, snd_seq_port_subscribe_t *sub) { (void)seq, (void)sub; return 0; }

int snd_seq_alloc_queue(snd_seq_t *seq) { (void)seq; return next_queue++; }
int snd_seq_free_queue(snd_seq_t *seq, int q) { (void)seq, (void)q; return 0; }
int snd_seq_control_queue(snd_seq_t *seq, int q, int type, int value, snd_seq_event_t *ev) {
    (void)seq, (void)q, (void)type, (void)value, (void)ev;
    return 0;
}
int snd_seq_get_queue_status(snd_seq_t *seq, int q, snd_seq_queue_status_t *status) {
    (void)seq, (void)q;
    memset(status, 0, snd_seq_queue_status_sizeof());
    return 0;
}
int snd_seq_get_queue_tempo(snd_seq_t *seq, int q, snd_seq_queue_tempo_t *tempo) {
    (void)seq, (void)q;
    memset(tempo, 0, snd_seq_queue_tempo_sizeof());
    snd_seq_queue_tempo_set_tempo(tempo, 500000);
    snd_seq_queue_tempo_set_ppq(tempo, 96);
    snd_seq_queue_tempo_set_skew(tempo, 0x10000);
    snd_seq_queue_tempo_set_skew_base(tempo, 0x10000);
    return 0;
}
int snd_seq_set_queue_tempo(snd_seq_t *seq, int q, snd_seq_queue_tempo_t *tempo) { (void)seq, (void)q, (void)tempo; return 0; }
int snd_seq_set_queue_timer(snd_seq_t *seq, int q, snd_seq_queue_timer_t *timer) { (void)seq, (void)q, (void)timer; return 0; }

int snd_seq_event_output(snd_seq_t *seq, snd_seq_event_t *ev) { (void)seq, (void)ev; return 0; }
int snd_seq_event_output_direct(snd_seq_t *seq, snd_seq_event_t *ev) { (void)seq, (void)ev; return 0; }
int snd_seq_drain_output(snd_seq_t *seq) { (void)seq; return 0; }
int snd_seq_drop_output(snd_seq_t *seq) { (void)seq; return 0; }
int snd_seq_drop_input(snd_seq_t *seq) { (void)seq; return 0; }
int snd_seq_remove_events(snd_seq_t *seq, snd_seq_remove_events_t *rmp) { (void)seq, (void)rmp; return 0; }
int snd_seq_event_input(snd_seq_t *seq, snd_seq_event_t **ev) { (void)seq; *ev = NULL; return -EAGAIN; }
int snd_seq_event_input_pending(snd_seq_t *seq, int fetch) { (void)seq, (void)fetch; return 0; }

int snd_seq_poll_descriptors_count(snd_seq_t *seq, short events) { (void)seq, (void)events; return 1; }
int snd_seq_poll_descriptors(snd_seq_t *seq, struct pollfd *pfds, unsigned int space, short events) {
    (void)seq;
    if (space < 1) return 0;
    pfds[0].fd = silent_pipe[0];
    pfds[0].events = events;
    pfds[0].revents = 0;
    return 1;
}

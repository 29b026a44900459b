package main

import (
	"bytes"
	"errors"
	"io"
	"log"
	"os"
	"time"

	"github.com/pion/webrtc"
	"github.com/pion/webrtc/pkg/media"
	"github.com/pion/webrtc/pkg/media/h264reader"
)

const (
	pictureTime = time.Second / 30
	soundTime   = 20 * time.Millisecond
	soundBytes  = 160
	// A constant level instead of a tone: sending it costs the same.
	soundLevel = 0xd0
)

var startCode = []byte{0, 0, 0, 1}

// liveSource is the clip and a sound, in a loop and whether watched or not. All viewers share its tracks, so that each
// picture is made into packets once.
type liveSource struct {
	pictures [][]byte
	video    *webrtc.TrackLocalStaticSample
	audio    *webrtc.TrackLocalStaticSample
}

// readPictures returns the clip's access units, without their delimiters.
func readPictures(path string) ([][]byte, error) {
	file, err := os.Open(path)
	if err != nil {
		return nil, err
	}
	defer file.Close()
	reader, err := h264reader.NewReader(file)
	if err != nil {
		return nil, err
	}
	var pictures [][]byte
	for {
		unit, err := reader.NextNAL()
		if errors.Is(err, io.EOF) {
			return pictures, nil
		} else if err != nil {
			return nil, err
		}
		if unit.UnitType == h264reader.NalUnitTypeAUD {
			pictures = append(pictures, nil)
		} else if last := len(pictures) - 1; last >= 0 {
			pictures[last] = bytes.Join([][]byte{pictures[last], startCode, unit.Data}, nil)
		}
	}
}

func newLiveSource(path string) (*liveSource, error) {
	pictures, err := readPictures(path)
	if err != nil {
		return nil, err
	}
	if len(pictures) == 0 {
		return nil, errors.New(path + " has no access unit delimiters")
	}
	video, err := webrtc.NewTrackLocalStaticSample(
		webrtc.RTPCodecCapability{MimeType: webrtc.MimeTypeH264}, "video", "clip")
	if err != nil {
		return nil, err
	}
	audio, err := webrtc.NewTrackLocalStaticSample(
		webrtc.RTPCodecCapability{MimeType: webrtc.MimeTypePCMU}, "audio", "clip")
	if err != nil {
		return nil, err
	}
	return &liveSource{pictures, video, audio}, nil
}

// send writes a sample at each due time, without drift.
func send(track *webrtc.TrackLocalStaticSample, every time.Duration, sampleAt func(number int) []byte) {
	start := time.Now()
	for number := 0; ; number++ {
		time.Sleep(time.Until(start.Add(time.Duration(number) * every)))
		if err := track.WriteSample(media.Sample{Data: sampleAt(number), Duration: every}); err != nil {
			log.Print(err)
		}
	}
}

func (source *liveSource) start() {
	sound := bytes.Repeat([]byte{soundLevel}, soundBytes)
	go send(source.video, pictureTime, func(number int) []byte { return source.pictures[number%len(source.pictures)] })
	go send(source.audio, soundTime, func(int) []byte { return sound })
}

// pion handles a viewer's reports and requests as they are read.
func readReports(sender *webrtc.RTPSender) {
	packets := make([]byte, 1500)
	for {
		if _, _, err := sender.Read(packets); err != nil {
			return
		}
	}
}

// answer makes a connection that sends both tracks. Its local description holds all candidates.
func (source *liveSource) answer(offer webrtc.SessionDescription) (*webrtc.PeerConnection, error) {
	connection, err := webrtc.NewPeerConnection(webrtc.Configuration{})
	if err != nil {
		return nil, err
	}
	if err := source.negotiate(connection, offer); err != nil {
		if closing := connection.Close(); closing != nil {
			log.Print(closing)
		}
		return nil, err
	}
	return connection, nil
}

func (source *liveSource) negotiate(connection *webrtc.PeerConnection, offer webrtc.SessionDescription) error {
	if err := connection.SetRemoteDescription(offer); err != nil {
		return err
	}
	for _, track := range []webrtc.TrackLocal{source.video, source.audio} {
		sender, err := connection.AddTrack(track)
		if err != nil {
			return err
		}
		go readReports(sender)
	}
	answer, err := connection.CreateAnswer(nil)
	if err != nil {
		return err
	}
	gathered := webrtc.GatheringCompletePromise(connection)
	if err := connection.SetLocalDescription(answer); err != nil {
		return err
	}
	<-gathered
	return nil
}
